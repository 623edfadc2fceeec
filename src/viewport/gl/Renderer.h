// Draws a scene graph with OpenGL 3.3 core into a framebuffer.
//
// Linear HDR colour (RGBA16F, 4x multisampled): physically based surfaces lit by directional,
// ambient, spot and omni lights and by image-based light from the environment image; cascaded
// shadow maps for the first shadow-casting directional light and twelve shadow views for local
// lights (a spot takes one, an omni light six); screen-space ambient occlusion in perspective;
// two-pass transparency; edges with a depth bias; then exposure, ACES tone mapping, contrast and
// saturation over the backdrop image, which is drawn as it is.
//
// The renderer belongs to one GL context, which must be current for every call, destruction
// included. GPU copies of geometries and textures are made lazily at their first draw, once,
// and hang in the `gpu` slots of Geometry and Material. A frame allocates nothing on the CPU
// side once the renderer has seen the scene.
#pragma once

#include <cstdint>
#include <memory>
#include <string>

#include "gl/RenderFrame.h"
#include "image/Image.h"

namespace vistrel::viewport {

class Renderer {
  public:
    struct Statistics {
        int drawCalls = 0;
        int64_t triangles = 0;
        int shadowViews = 0;
        bool ambientOcclusion = false;
    };

    Renderer();
    ~Renderer();
    Renderer(const Renderer&) = delete;
    Renderer& operator=(const Renderer&) = delete;

    // Compiles the programs; false with the reason when the context cannot run them.
    bool initialize(std::string& error);

    // Draws into `framebuffer` (0, or a toolkit's default framebuffer object) at that size in
    // pixels. Leaves that framebuffer bound. A frame with a null root (no scene yet) only
    // clears to Rendering::viewBackgroundColor.
    void render(const RenderFrame& frame, unsigned framebuffer, int width, int height);

    // Draws into the renderer's own RGBA8 framebuffer of that size, for work without a window.
    void renderOffscreen(const RenderFrame& frame, int width, int height);
    // renderOffscreen, then reads the picture back: RGBA8, row 0 at the top, alpha 255.
    Image snapshot(const RenderFrame& frame, int width, int height);

    const Statistics& statistics() const { return statistics_; }

  private:
    struct Impl;
    std::unique_ptr<Impl> impl_;
    Statistics statistics_;
};

}  // namespace vistrel::viewport

// The 3D view of a model as the viewer first shows it, rendered without a window or display:
// an offscreen GL context, the scene assembled from the model, the first framing (the model's
// camera, else top for a flat drawing, else iso), one frame read back.
#pragma once

#include <filesystem>
#include <optional>
#include <string>

#include "camera/CameraNode.h"
#include "image/Image.h"
#include "model/SKPModel.h"
#include "vocabulary/ShadingStyle.h"

namespace vistrel::viewport {

class ViewportScene;

namespace HeadlessSnapshot {

struct Options {
    int width = 1380;
    int height = 820;
    ShadingStyle style = ShadingStyle::textured;
};

// The picture, or absent with the reason in `error` (no GL context, bad size).
std::optional<Image> render(const SKPModel& model, const Options& options, std::string& error);
// The same picture of a scene already assembled (its shading style is set to the options').
std::optional<Image> render(ViewportScene& scene, const Options& options, std::string& error);
// render() written as a PNG file; false with the reason in `error`.
bool writePNG(const SKPModel& model, const Options& options, const std::filesystem::path& path,
              std::string& error);

// The camera of the first view of the scene, in model space, for a view of width x height.
CameraNode initialCamera(ViewportScene& scene, int width, int height);

}  // namespace HeadlessSnapshot
}  // namespace vistrel::viewport

// An OpenGL 3.3 core context with no window, for headless rendering and tests.
//
// Tries Mesa's surfaceless platform, then an EGL device, then the default display with a small
// pbuffer. None of them needs an X server or a GPU (Mesa's llvmpipe renders on the CPU). The
// context is current on the creating thread after create(); destroying the object releases it.
#pragma once

#include <memory>
#include <string>

namespace vistrel::viewport {

class OffscreenContext {
  public:
    // Null on failure, with the reason in `error`; never throws or aborts.
    static std::unique_ptr<OffscreenContext> create(std::string& error);
    ~OffscreenContext();
    OffscreenContext(const OffscreenContext&) = delete;
    OffscreenContext& operator=(const OffscreenContext&) = delete;

    bool makeCurrent();
    // Which of the three ways succeeded, and the GL renderer string ("llvmpipe ...").
    const std::string& platform() const { return platform_; }
    const std::string& renderer() const { return renderer_; }

  private:
    OffscreenContext() = default;

    void* display_ = nullptr;
    void* context_ = nullptr;
    void* surface_ = nullptr;
    std::string platform_;
    std::string renderer_;
};

}  // namespace vistrel::viewport

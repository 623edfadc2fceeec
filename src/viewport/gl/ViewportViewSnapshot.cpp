// ViewportView's pictures without a window: an EGL context and a renderer of the view's own.
#include <cmath>

#include "gl/OffscreenContext.h"
#include "gl/Renderer.h"
#include "gl/ViewFrame.h"
#include "view/ViewportView.h"

namespace vistrel::viewport {

struct ViewportView::Offscreen {
    std::unique_ptr<OffscreenContext> context;
    Renderer renderer;
    bool failed = false;
};

void ViewportView::OffscreenDeleter::operator()(Offscreen* offscreen) const {
    // The renderer's GL objects die with its context, which must be current then.
    if (offscreen->context) offscreen->context->makeCurrent();
    delete offscreen;
}

std::optional<Image> ViewportView::snapshot() {
    if (snapshotter) return snapshotter();
    if (!scene_) return std::nullopt;
    const int width = int(std::lround(size_.x * backingScale_));
    const int height = int(std::lround(size_.y * backingScale_));
    if (width < 1 || height < 1 || width > 16384 || height > 16384) return std::nullopt;
    if (!offscreen_) {
        offscreen_.reset(new Offscreen);
        std::string error;
        offscreen_->context = OffscreenContext::create(error);
        offscreen_->failed = !offscreen_->context || !offscreen_->renderer.initialize(error);
    }
    if (offscreen_->failed || !offscreen_->context->makeCurrent()) return std::nullopt;
    return offscreen_->renderer.snapshot(viewFrame(*this), width, height);
}

}  // namespace vistrel::viewport

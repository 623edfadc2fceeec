#include "gl/ViewFrame.h"

#include "view/ViewportView.h"

namespace vistrel::viewport {

RenderFrame viewFrame(const ViewportView& view) {
    RenderFrame frame;
    const auto& scene = view.viewportScene();
    if (!scene) return frame;
    frame.root = scene->rootNode().get();
    frame.camera = RenderCamera::from(view.cameraNode(), scene->modelRoot()->worldTransform());
    // Presented, the fill hangs under the camera carrier and the graph walk finds it.
    const auto& fill = scene->fill();
    if (fill && fill->light && !fill->parent()) frame.cameraLight = &*fill->light;
    frame.backdrop = &scene->background();
    frame.environment = &scene->lightingEnvironment();
    frame.environmentIntensity = scene->lightingEnvironmentIntensity();
    frame.devicePixelRatio = view.backingScale();
    return frame;
}

}  // namespace vistrel::viewport

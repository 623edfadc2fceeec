#include "gl/HeadlessSnapshot.h"

#include <cmath>
#include <numbers>

#include "camera/CameraRig.h"
#include "camera/ViewFraming.h"
#include "gl/OffscreenContext.h"
#include "gl/RenderMath.h"
#include "gl/Renderer.h"
#include "image/PNGFile.h"
#include "scene/Light.h"
#include "scene/ViewportScene.h"
#include "vocabulary/Rendering.h"
#include "vocabulary/StandardView.h"

namespace vistrel::viewport::HeadlessSnapshot {

CameraNode initialCamera(ViewportScene& scene, int width, int height) {
    const auto bounds = scene.visibleBounds();
    const ViewFraming::InitialView view = ViewFraming::initialView(
        scene.model(), bounds.min, bounds.max, {float(width), float(height)});
    CameraSettings settings;
    settings.fieldOfView = view.fovDegrees;
    settings.usesOrthographicProjection = !view.isPerspective;
    settings.orthographicScale = view.orthographicScale;
    Rendering::configure(settings);
    CameraNode node;
    node.position = view.pose.position;
    node.orientation = quaternionFromRotation(view.pose.basis());
    node.camera = settings;
    return node;
}

namespace {

bool validSize(const Options& options, std::string& error) {
    if (options.width <= 0 || options.height <= 0 || options.width > 16384 ||
        options.height > 16384) {
        error =
            "invalid size " + std::to_string(options.width) + "x" + std::to_string(options.height);
        return false;
    }
    return true;
}

}  // namespace

std::optional<Image> render(const SKPModel& model, const Options& options, std::string& error) {
    if (!validSize(options, error)) return std::nullopt;
    ViewportScene scene(model);
    return render(scene, options, error);
}

std::optional<Image> render(ViewportScene& scene, const Options& options, std::string& error) {
    if (!validSize(options, error)) return std::nullopt;
    auto context = OffscreenContext::create(error);
    if (!context) return std::nullopt;
    if (options.style != scene.shadingStyle()) scene.setShadingStyle(options.style);

    Renderer renderer;
    if (!renderer.initialize(error)) return std::nullopt;
    const CameraNode camera = initialCamera(scene, options.width, options.height);
    RenderFrame frame;
    frame.root = scene.rootNode().get();
    frame.camera = RenderCamera::from(camera, scene.modelRoot()->worldTransform());
    frame.cameraLight = &*scene.fill()->light;
    frame.backdrop = &scene.background();
    frame.environment = &scene.lightingEnvironment();
    frame.environmentIntensity = scene.lightingEnvironmentIntensity();
    return renderer.snapshot(frame, options.width, options.height);
}

bool writePNG(const SKPModel& model, const Options& options, const std::filesystem::path& path,
              std::string& error) {
    auto image = render(model, options, error);
    return image && PNGFile::write(*image, path, error);
}

}  // namespace vistrel::viewport::HeadlessSnapshot

#include "HeadlessSnapshot.h"

#include <cmath>
#include <numbers>

#include "CameraRig.h"
#include "Light.h"
#include "OffscreenContext.h"
#include "PNGFile.h"
#include "RenderMath.h"
#include "Renderer.h"
#include "Rendering.h"
#include "StandardView.h"
#include "ViewportScene.h"

namespace vistrel::viewport::HeadlessSnapshot {

namespace {

bool hasLight(const SceneNode& node) {
    if (node.light) return true;
    for (const auto& c : node.children())
        if (hasLight(*c)) return true;
    return false;
}

// The sun rig at its starting values (azimuth -135, elevation 45), for a scene that carries no
// lights of its own.
void addStandInLights(ViewportScene& scene) {
    const float pi = std::numbers::pi_v<float>;
    const float a = -135 * pi / 180, e = 45 * pi / 180;
    const Float3 travel{-std::cos(a) * std::cos(e), -std::sin(a) * std::cos(e), -std::sin(e)};
    const SKPModel& model = scene.model();
    auto sunNode = SceneNode::make("sun");
    Light sun;
    sun.type = Light::Type::directional;
    sun.intensity = 1050;
    sun.temperature = 5800;
    sun.castsShadow = true;
    sun.shadowRadius = 3;
    sun.shadowSampleCount = 8;
    sun.shadowColor = {0.05f, 0.07f, 0.12f, 0.48f};
    sun.shadowCascadeCount = 3;
    sun.shadowMapSize = 2048;
    sun.maximumShadowDistance = std::max(4 * length(model.size()), 1.0f);
    sunNode->light = sun;
    sunNode->transform = RenderMath::lookAlong({0, 0, 0}, travel, {0, 0, 1});
    scene.modelRoot()->addChild(sunNode);

    const float b = a + pi;
    auto skyNode = SceneNode::make("skyFill");
    Light sky;
    sky.type = Light::Type::directional;
    sky.intensity = 220;
    sky.temperature = 7500;
    skyNode->light = sky;
    skyNode->transform = RenderMath::lookAlong(
        {0, 0, 0}, {-0.882948f * std::cos(b), -0.882948f * std::sin(b), -0.469472f}, {0, 0, 1});
    scene.modelRoot()->addChild(skyNode);
}

}  // namespace

CameraNode initialCamera(const SKPModel& model, float aspect) {
    CameraNode node;
    CameraSettings settings;
    settings.fieldOfView = 35;
    CameraRig::Pose pose;
    if (model.camera) {
        const Camera& c = *model.camera;
        const Float3 d = c.target - c.position;
        const auto o = CameraRig::orientation(length(d) > 1e-4f ? d : Float3{0, 1, 0}, c.up);
        pose = {c.position, o.yaw, o.pitch, std::max(length(d), 0.001f)};
        settings.fieldOfView = c.fovDegrees;
        settings.usesOrthographicProjection = !c.isPerspective;
        settings.orthographicScale = c.orthoHeight * 0.5;
    } else {
        const bool flat = model.isPlanar2D();
        const StandardView view = flat ? StandardView::top : StandardView::iso;
        const auto o = CameraRig::orientation(forward(view), upHint(view));
        pose.yaw = o.yaw;
        pose.pitch = o.pitch;
        const float r = std::max(0.5f * length(model.size()), 0.01f);
        const float vfov = float(settings.fieldOfView * std::numbers::pi / 180);
        const float hfov = 2 * std::atan(std::tan(vfov / 2) * aspect);
        const float fit = std::min(hfov, vfov);
        const float d = r / std::sin(fit / 2) * 1.05f;
        pose.position = model.center() - pose.forward() * d;
        pose.distance = d;
        settings.usesOrthographicProjection = flat && model.fileInfo.isCAD();
        settings.orthographicScale = r * 1.05f / std::min(aspect, 1.0f);
    }
    Rendering::configure(settings);
    node.position = pose.position;
    node.orientation = quaternionFromRotation(pose.basis());
    node.camera = settings;
    return node;
}

std::optional<Image> render(const SKPModel& model, const Options& options, std::string& error) {
    if (options.width <= 0 || options.height <= 0 || options.width > 16384 ||
        options.height > 16384) {
        error =
            "invalid size " + std::to_string(options.width) + "x" + std::to_string(options.height);
        return std::nullopt;
    }
    auto context = OffscreenContext::create(error);
    if (!context) return std::nullopt;
    ViewportScene scene(model);
    if (options.style != ShadingStyle::textured) scene.setShadingStyle(options.style);
    if (!hasLight(*scene.rootNode())) addStandInLights(scene);

    Renderer renderer;
    if (!renderer.initialize(error)) return std::nullopt;
    const CameraNode camera =
        initialCamera(scene.model(), float(options.width) / float(options.height));
    Light fill;
    fill.type = Light::Type::ambient;
    fill.intensity = 140;
    RenderFrame frame;
    frame.root = scene.rootNode().get();
    frame.camera = RenderCamera::from(camera, scene.modelRoot()->worldTransform());
    frame.cameraLight = &fill;
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

#include "view/ViewportView.h"

#include <algorithm>
#include <cassert>
#include <cmath>
#include <numbers>

#include "camera/ViewFraming.h"
#include "vocabulary/DocumentSettings.h"
#include "vocabulary/Rendering.h"

namespace vistrel::viewport {

namespace {

constexpr double kRadiansPerDegree = std::numbers::pi / 180;
constexpr float kPitchLimitDegrees = 89;

float tanHalf(double fovDegrees) {
    return float(std::tan(fovDegrees * kRadiansPerDegree / 2));
}

}  // namespace

ViewportView::ViewportView(RepeatingTimer& timer, const Clock& clock,
                           std::function<double()> maximumFramesPerSecond, CursorControl* cursor)
    : carrier_(SceneNode::make("camera")),
      rig_(cameraNode_, timer, clock, std::move(maximumFramesPerSecond)),
      cursor_(cursor) {
    CameraSettings camera;
    Rendering::configure(camera);
    camera.fieldOfView = DocumentSettings{}.fovDegrees;
    // The camera follows the view's own switch, which starts off, from the first frame.
    Rendering::setAmbientOcclusion(ambientOcclusionEnabled_, ambientOcclusionIntensity_, camera);
    cameraNode_.camera = camera;
    rig_.onChange = [this] { rigChanged(); };
}

void ViewportView::rigChanged() {
    // The carrier follows the camera so that the fill light hung on it moves along.
    const CameraRig::Pose& p = rig_.pose();
    const Float3x3 b = p.basis();
    Float4x4& m = carrier_->transform;
    m.m = {b.c0.x, b.c0.y, b.c0.z, 0, b.c1.x,       b.c1.y,       b.c1.z,       0,
           b.c2.x, b.c2.y, b.c2.z, 0, p.position.x, p.position.y, p.position.z, 1};
    requestRedraw();
    if (onPoseChange) {
        const float speed = rig_.baseSpeed * rig_.speedScale * (rig_.fast ? 4.0f : 1.0f);
        onPoseChange(p.position, p.yaw, p.pitch, speed);
    }
}

void ViewportView::requestRedraw() {
    if (onRedraw) onRedraw();
}

// Camera state.

double ViewportView::fieldOfView() const {
    return cameraNode_.camera->fieldOfView;
}

void ViewportView::setFieldOfView(double degrees) {
    cameraNode_.camera->fieldOfView = std::clamp(degrees, 10.0, 120.0);
    requestRedraw();
}

double ViewportView::exposureOffset() const {
    return cameraNode_.camera->exposureOffset;
}

void ViewportView::setExposureOffset(double offset) {
    cameraNode_.camera->exposureOffset = std::clamp(offset, -3.0, 3.0);
    requestRedraw();
}

double ViewportView::orthographicScale() const {
    return cameraNode_.camera->orthographicScale;
}

void ViewportView::setScale(double scale) {
    cameraNode_.camera->orthographicScale = std::clamp(scale, 0.01, 10000.0);
}

void ViewportView::setOrthographicScale(double scale) {
    setScale(scale);
    requestRedraw();
}

double ViewportView::movementSpeedScale() const {
    return rig_.speedScale;
}

void ViewportView::setMovementSpeedScale(double scale) {
    rig_.speedScale = float(std::clamp(scale, 0.0625, 16.0));
    rigChanged();
}

bool ViewportView::isPerspective() const {
    return !cameraNode_.camera->usesOrthographicProjection;
}

void ViewportView::setPerspective(bool perspective) {
    CameraSettings& camera = *cameraNode_.camera;
    if (camera.usesOrthographicProjection != perspective) return;
    rig_.stop();
    const float t = tanHalf(camera.fieldOfView);
    if (!perspective) {
        setScale(rig_.pose().distance * t);
    } else {
        // The target stays; the eye backs off to the distance that shows the same height.
        CameraRig::Pose pose = rig_.pose();
        const Float3 target = pose.target();
        const float d = float(camera.orthographicScale) / t;
        pose.position = target - pose.forward() * d;
        pose.distance = d;
        rig_.place(pose);
    }
    camera.usesOrthographicProjection = !perspective;
    Rendering::setAmbientOcclusion(ambientOcclusionEnabled_, ambientOcclusionIntensity_, camera);
    requestRedraw();
}

void ViewportView::setAmbientOcclusionEnabled(bool enabled) {
    ambientOcclusionEnabled_ = enabled;
    Rendering::setAmbientOcclusion(enabled, ambientOcclusionIntensity_, *cameraNode_.camera);
    requestRedraw();
}

void ViewportView::setAmbientOcclusionIntensity(double intensity) {
    ambientOcclusionIntensity_ = intensity;
    Rendering::setAmbientOcclusion(ambientOcclusionEnabled_, intensity, *cameraNode_.camera);
    requestRedraw();
}

void ViewportView::setFreeFlying(bool flying) {
    if (flying == isFreeFlying_) return;
    isFreeFlying_ = flying;
    rig_.stop();
    if (flying) {
        if (onTakeFocus) onTakeFocus();
        captureCursor(true);
    } else {
        rig_.keys.clear();
        rig_.startTicking();
        undoCursorHide();
    }
    if (onFreeFlyingChange) onFreeFlyingChange(flying);
}

// Poses.

std::optional<CameraRig::Pose> ViewportView::cameraPose() const {
    if (!scene_) return std::nullopt;
    return rig_.pose();
}

void ViewportView::present(std::shared_ptr<ViewportScene> scene) {
    assert(scene);
    // Leave the old model root before the old scene, and with it that root, may go.
    carrier_->removeFromParent();
    scene_ = std::move(scene);
    while (!carrier_->children().empty()) {
        const std::shared_ptr<SceneNode> child = carrier_->children().back();
        child->removeFromParent();
    }
    scene_->modelRoot()->addChild(carrier_);
    if (scene_->fill()) carrier_->addChild(scene_->fill());

    const SKPModel& model = scene_->model();
    rig_.is2DMode = model.fileInfo.isCAD() && model.isPlanar2D();
    if (rig_.is2DMode) {
        setFreeFlying(false);
        setPerspective(false);
    }
    rig_.baseSpeed = std::clamp(length(model.size()) * 0.03125f, 0.125f, 12.5f);

    if (model.camera)
        apply(*model.camera, false, CameraRig::defaultGlideDuration);
    else
        look(model.isPlanar2D() ? StandardView::top : StandardView::iso, false);
}

void ViewportView::resetView(bool animated) {
    const bool planar = scene_ && scene_->model().isPlanar2D();
    if (scene_ && scene_->model().camera)
        apply(*scene_->model().camera, animated, CameraRig::defaultGlideDuration);
    else
        look(planar ? StandardView::top : StandardView::iso, animated);
    if (onResetView) onResetView(isPerspective());
}

void ViewportView::moveTo(const CameraRig::Pose& pose, double toScale, bool animated,
                          float duration) {
    const double scale = std::clamp(toScale, 0.01, 10000.0);
    if (animated)
        rig_.beginGlide(pose, orthographicScale(), scale, duration);
    else
        rig_.set(pose, scale);
}

void ViewportView::apply(const Camera& camera, bool animated, float duration) {
    const ViewFraming::CameraView view = ViewFraming::apply(camera);
    if (!view.isPerspective) setPerspective(false);
    setFieldOfView(view.fovDegrees);
    setPerspective(view.isPerspective);
    moveTo(view.pose, view.orthographicScale.value_or(orthographicScale()), animated, duration);
}

ViewportScene::Bounds ViewportView::bounds() const {
    if (!scene_) return {};
    return scene_->visibleBounds();
}

void ViewportView::frame(const CameraRig::Pose& pose, bool animated) {
    const ViewportScene::Bounds b = bounds();
    const auto f = ViewFraming::frame(pose, b.min, b.max, size_, float(fieldOfView()));
    moveTo(f.pose, isPerspective() ? orthographicScale() : f.orthographicScale, animated,
           CameraRig::defaultGlideDuration);
}

void ViewportView::frameBounds(Float3 min, Float3 max, bool animated, float duration) {
    const auto f = ViewFraming::frameBounds(rig_.pose(), min, max, size_, float(fieldOfView()));
    moveTo(f.pose, isPerspective() ? orthographicScale() : f.orthographicScale, animated, duration);
}

void ViewportView::look(StandardView view, bool animated) {
    const auto o = CameraRig::orientation(forward(view), upHint(view));
    CameraRig::Pose pose = rig_.pose();
    pose.yaw = o.yaw;
    pose.pitch = o.pitch;
    frame(pose, animated);
}

void ViewportView::zoomExtents(bool animated) {
    frame(rig_.pose(), animated);
}

void ViewportView::setCameraPose(std::optional<Float3> position, std::optional<float> yawDegrees,
                                 std::optional<float> pitchDegrees, std::optional<float> distance) {
    CameraRig::Pose pose = rig_.pose();
    constexpr float toRadians = std::numbers::pi_v<float> / 180;
    if (position) pose.position = *position;
    if (yawDegrees) pose.yaw = *yawDegrees * toRadians;
    if (pitchDegrees)
        pose.pitch = std::clamp(*pitchDegrees, -kPitchLimitDegrees, kPitchLimitDegrees) * toRadians;
    if (distance) pose.distance = *distance;
    rig_.set(pose);
}

void ViewportView::setCameraTarget(Float3 target, bool animated) {
    setCameraLookAt(rig_.pose().position, target, animated);
}

void ViewportView::setCameraLookAt(Float3 position, Float3 target, bool animated) {
    CameraRig::Pose pose = rig_.pose();
    pose.position = position;
    const Float3 direction = target - position;
    const float separation = length(direction);
    if (separation >= 0.0001f) {
        const auto o = CameraRig::orientation(direction, {0, 0, 1});
        pose.yaw = o.yaw;
        pose.pitch = o.pitch;
        pose.distance = separation;
    }
    moveTo(pose, orthographicScale(), animated, CameraRig::defaultGlideDuration);
}

void ViewportView::orbitByDegrees(float yaw, float pitch) {
    rig_.stop();
    constexpr float toRadians = std::numbers::pi_v<float> / 180;
    rig_.orbit(yaw * toRadians, pitch * toRadians);
}

void ViewportView::levelHorizon(bool animated) {
    CameraRig::Pose pose = rig_.pose();
    pose.pitch = 0;
    moveTo(pose, orthographicScale(), animated, CameraRig::defaultGlideDuration);
}

double ViewportView::focalLengthMM(double verticalFOVDegrees) {
    const double fov = std::clamp(verticalFOVDegrees, 5.0, 160.0);
    const double t = std::tan(fov * kRadiansPerDegree / 2);
    if (t < 0.0001) return 120000;
    return std::max(12 / t, 1.0);
}

double ViewportView::verticalFOVDegrees(double focalLengthMM) {
    const double f = std::max(focalLengthMM, 4.0);
    const double k = f >= 300 ? 0.04 : 12 / f;
    return std::clamp(2 * std::atan(k) / kRadiansPerDegree, 10.0, 120.0);
}

// Rays and hits.

float ViewportView::visibleHeight() const {
    if (!isPerspective()) return float(2 * orthographicScale());
    return 2 * rig_.pose().distance * tanHalf(fieldOfView());
}

float ViewportView::unitsPerPoint() const {
    return visibleHeight() / std::max(size_.y, 1.0f);
}

Float3 ViewportView::ray(Float2 point) const {
    const CameraRig::Pose& p = rig_.pose();
    const float k = tanHalf(fieldOfView()) / (0.5f * std::max(size_.y, 1.0f));
    return normalize(p.forward() + p.right() * (k * (point.x - size_.x / 2)) +
                     p.up() * (k * (point.y - size_.y / 2)));
}

Float3 ViewportView::rayOrigin(Float2 point) const {
    const CameraRig::Pose& p = rig_.pose();
    if (isPerspective()) return p.position;
    const float u = unitsPerPoint();
    return p.position + p.right() * ((point.x - size_.x / 2) * u) +
           p.up() * ((point.y - size_.y / 2) * u);
}

std::optional<Float3> ViewportView::hit(Float2 point) {
    if (!scene_) return std::nullopt;
    const ViewportScene::Bounds b = bounds();
    const Float3 from = rayOrigin(point);
    // Parallel rays all run along the view; a perspective one fans out through the point.
    const Float3 direction = isPerspective() ? ray(point) : rig_.pose().forward();
    const float reach =
        length(b.max - b.min) + length(rig_.pose().position - (b.min + b.max) * 0.5f);
    const auto h = scene_->hitFaces(from, direction, reach);
    if (!h) return std::nullopt;
    return from + direction * h->depth;
}

std::optional<int> ViewportView::pickLayer(Float2 point, float radiusPoints) {
    if (!scene_) return std::nullopt;
    const ViewportScene::Bounds b = bounds();
    const CameraRig::Pose& p = rig_.pose();
    const bool perspective = isPerspective();
    const Float3 direction = perspective ? ray(point) : p.forward();
    const float reach = length(b.max - b.min) + length(p.position - (b.min + b.max) * 0.5f);
    const std::optional<float> orthoTolerance =
        perspective ? std::nullopt : std::optional<float>(radiusPoints * unitsPerPoint());
    return scene_->pickLayer(rayOrigin(point), direction, p.right(), p.up(), reach, orthoTolerance,
                             tanHalf(fieldOfView()), size_.y, radiusPoints);
}

}  // namespace vistrel::viewport

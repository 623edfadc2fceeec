// Camera, look and lighting commands of DocumentModel.
#include <algorithm>
#include <cmath>
#include <string>

#include "documents/DocumentModel.h"
#include "settings/Localization.h"
#include "shell/Preferences.h"

namespace vistrel::app {

using viewport::BackdropStyle;
using viewport::LightingMode;
using viewport::ShadingStyle;
using viewport::StandardView;
using viewport::ViewportPointLight;
using viewport::ViewportScene;

namespace {

bool inRange(int index, size_t count) {
    return index >= 0 && size_t(index) < count;
}

}  // namespace

// MARK: Reference bounds

ViewportScene::Bounds DocumentModel::referenceBounds() {
    if (auto* s = scene()) return s->visibleBounds();
    if (skp_) return {skp_->boundsMin, skp_->boundsMax};
    return {{-5, -5, -5}, {5, 5, 5}};
}

DocumentModel::ClosedRange DocumentModel::cameraDistanceRange() {
    auto b = referenceBounds();
    double diagonal = double(length(b.max - b.min));
    return {0.1, std::max(2 * diagonal, 10.0)};
}

DocumentModel::ClosedRange DocumentModel::pointLightCoordinateRange() {
    auto b = referenceBounds();
    Float3 centre = (b.min + b.max) * 0.5f;
    double margin = std::max(1.1 * double(length(b.max - b.min)), 2.0);
    double low = std::min({centre.x, centre.y, centre.z});
    double high = std::max({centre.x, centre.y, centre.z});
    return {low - margin, high + margin};
}

std::optional<Float3> DocumentModel::lightAnchor() {
    if (auto* s = scene()) return s->defaultPointLightPosition();
    if (skp_) return skp_->center();
    return std::nullopt;
}

// MARK: Camera

void DocumentModel::resetView() {
    if (!isReady()) return;
    write(activeStandardView_, std::nullopt, &DocumentModel::activeStandardViewChanged);
    viewport_.resetView(true);
    write(isPerspective_, viewport_.isPerspective(), &DocumentModel::isPerspectiveChanged);
}

void DocumentModel::setActiveStandardView(std::optional<StandardView> view) {
    write(activeStandardView_, view, &DocumentModel::activeStandardViewChanged);
}

void DocumentModel::setPerspective(bool perspective) {
    if (isPerspective_ == perspective && (!isReady() || viewport_.isPerspective() == perspective))
        return;
    write(isPerspective_, perspective, &DocumentModel::isPerspectiveChanged);
    Preferences::setBool("isPerspective", perspective);
    if (isReady()) {
        viewport_.setPerspective(perspective);
        syncCameraStateFromViewport();
    }
}

void DocumentModel::setCameraFocalLength(float mm) {
    double fov = std::clamp(viewport::ViewportView::verticalFOVDegrees(double(mm)), 10.0, 120.0);
    write(cameraFOV_, float(fov), &DocumentModel::cameraFOVChanged);
    viewport_.setFieldOfView(fov);
}

void DocumentModel::setCameraFOV(float degrees) {
    write(cameraFOV_, degrees, &DocumentModel::cameraFOVChanged);
    viewport_.setFieldOfView(double(degrees));
}

void DocumentModel::setCameraExposure(float offset) {
    write(cameraExposure_, offset, &DocumentModel::cameraExposureChanged);
    viewport_.setExposureOffset(double(offset));
}

void DocumentModel::setCameraOrthoScale(float scale) {
    write(cameraOrthoScale_, scale, &DocumentModel::cameraOrthoScaleChanged);
    viewport_.setOrthographicScale(double(scale));
}

void DocumentModel::setCameraSpeedScale(float scale) {
    write(cameraSpeedScale_, scale, &DocumentModel::cameraSpeedScaleChanged);
    viewport_.setMovementSpeedScale(double(scale));
}

void DocumentModel::lookStandardView(StandardView view) {
    if (!isReady()) return;
    setActiveStandardView(view);
    viewport_.look(view, true);
}

void DocumentModel::setCameraEyeHeight(float height) {
    write(activeStandardView_, std::nullopt, &DocumentModel::activeStandardViewChanged);
    float low = 0;
    std::optional<float> high;
    if (isReady() || skp_) {
        auto b = referenceBounds();
        low = b.min.z;
        high = b.max.z;
    }
    float ground;
    if (low > 0.2f)
        ground = low;
    else if (!high || *high >= 1.5f)
        ground = 0;
    else
        ground = low;  // a flat model near zero stands on its own base
    Float3 position = viewport_.cameraModelPosition();
    position.z = ground + height;
    setCameraPose(position, std::nullopt, 0.0f, std::nullopt);
}

void DocumentModel::centerCameraInModel() {
    write(activeStandardView_, std::nullopt, &DocumentModel::activeStandardViewChanged);
    auto point = lightAnchor();
    if (!point) return;
    setCameraPose(*point, std::nullopt, 0.0f, std::nullopt);
}

void DocumentModel::setCameraPose(std::optional<Float3> position, std::optional<float> yawDegrees,
                                  std::optional<float> pitchDegrees,
                                  std::optional<float> distance) {
    // A distance alone keeps the standard view: the camera still looks the same way.
    if (position || yawDegrees || pitchDegrees)
        write(activeStandardView_, std::nullopt, &DocumentModel::activeStandardViewChanged);
    if (distance) distance = std::max(*distance, 0.05f);
    viewport_.setCameraPose(position, yawDegrees, pitchDegrees, distance);
    syncCameraStateFromViewport();
}

// MARK: Look

void DocumentModel::setShadingStyle(ShadingStyle style) {
    write(shadingStyle_, style, &DocumentModel::shadingStyleChanged);
    if (auto* s = scene()) s->setShadingStyle(style);
    // Wireframe always draws its lines; the field follows for the toolbar only.
    if (style == ShadingStyle::wireframe && !showsEdges_)
        write(showsEdges_, true, &DocumentModel::showsEdgesChanged);
    requestRedraw();
}

void DocumentModel::setBackdropStyle(BackdropStyle style) {
    write(backdropStyle_, style, &DocumentModel::backdropStyleChanged);
    Preferences::setBackdropStyleRaw(std::string(viewport::rawValue(style)));
    if (auto* s = scene()) s->setBackdropStyle(style);
    requestRedraw();
}

void DocumentModel::setCustomBackdropColor(Float3 color) {
    Float3 c{std::clamp(color.x, 0.0f, 1.0f), std::clamp(color.y, 0.0f, 1.0f),
             std::clamp(color.z, 0.0f, 1.0f)};
    write(customBackdropColor_, c, &DocumentModel::customBackdropColorChanged);
    Preferences::setCustomBackdropColor(c);
    if (auto* s = scene()) s->setCustomBackdropColor(c);
    if (backdropStyle_ != BackdropStyle::customColor) {
        write(backdropStyle_, BackdropStyle::customColor, &DocumentModel::backdropStyleChanged);
        Preferences::setBackdropStyleRaw("customColor");
        if (auto* s = scene()) s->setBackdropStyle(BackdropStyle::customColor);
    }
    requestRedraw();
}

void DocumentModel::toggleGrid() {
    write(showsGrid_, !showsGrid_, &DocumentModel::showsGridChanged);
    Preferences::setBool("showsGrid", showsGrid_);
    if (auto* s = scene()) s->setShowsGrid(showsGrid_);
    requestRedraw();
}

void DocumentModel::toggleShadows() {
    write(shadowsEnabled_, !shadowsEnabled_, &DocumentModel::shadowsEnabledChanged);
    Preferences::setBool("shadowsEnabled", shadowsEnabled_);
    if (auto* s = scene()) s->setShadowsEnabled(shadowsEnabled_);
    requestRedraw();
}

void DocumentModel::toggleEdges() {
    write(showsEdges_, !showsEdges_, &DocumentModel::showsEdgesChanged);
    Preferences::setBool("showsEdges", showsEdges_);
    if (auto* s = scene()) s->setShowsEdges(showsEdges_);
    requestRedraw();
}

void DocumentModel::toggleSidebar() {
    write(showSidebar_, !showSidebar_, &DocumentModel::showSidebarChanged);
    Preferences::setBool("showSidebar", showSidebar_);
}

void DocumentModel::toggleAmbientOcclusion() {
    write(ambientOcclusionEnabled_, !ambientOcclusionEnabled_,
          &DocumentModel::ambientOcclusionEnabledChanged);
    Preferences::setBool("ambientOcclusionEnabled", ambientOcclusionEnabled_);
    // Switching on never gives an invisible effect.
    if (ambientOcclusionEnabled_ && ambientOcclusionIntensity_ <= 0.01f) {
        write(ambientOcclusionIntensity_, 0.7f, &DocumentModel::ambientOcclusionIntensityChanged);
        Preferences::setAmbientOcclusionIntensity(0.7f);
        viewport_.setAmbientOcclusionIntensity(0.7);
    }
    viewport_.setAmbientOcclusionEnabled(ambientOcclusionEnabled_);
    requestRedraw();
}

void DocumentModel::setAmbientOcclusionIntensity(float value) {
    float v = std::clamp(value, 0.0f, 2.0f);
    write(ambientOcclusionIntensity_, v, &DocumentModel::ambientOcclusionIntensityChanged);
    Preferences::setAmbientOcclusionIntensity(v);
    viewport_.setAmbientOcclusionIntensity(double(v));
    bool enabled = v > 0.01f;
    if (enabled != ambientOcclusionEnabled_) {
        write(ambientOcclusionEnabled_, enabled, &DocumentModel::ambientOcclusionEnabledChanged);
        Preferences::setBool("ambientOcclusionEnabled", enabled);
        viewport_.setAmbientOcclusionEnabled(enabled);
    }
    requestRedraw();
}

// MARK: Lighting

void DocumentModel::pushPointLights() {
    if (auto* s = scene()) s->setPointLights(pointLights_);
    requestRedraw();
}

void DocumentModel::setLightingMode(LightingMode mode) {
    write(lightingMode_, mode, &DocumentModel::lightingModeChanged);
    if (mode == LightingMode::point && pointLights_.empty()) {
        ViewportPointLight light;
        light.id = viewport::Uuid::random();
        light.name = L("Lumière 1", "Light 1");
        light.position = lightAnchor().value_or(Float3{0, 0, 0});
        light.intensity = 1;
        write(pointLights_, std::vector<ViewportPointLight>{light},
              &DocumentModel::pointLightsChanged);
        write(selectedPointLightIndex_, 0, &DocumentModel::selectedPointLightIndexChanged);
        if (auto* s = scene()) s->setPointLights(pointLights_);
    }
    if (auto* s = scene()) s->setLightingMode(mode);
    requestRedraw();
}

void DocumentModel::addPointLight() {
    size_t n = pointLights_.size();
    Float3 base = lightAnchor().value_or(Float3{0, 0, 0});
    // The offset keeps lights from stacking.
    float offset = float(n) / 4;
    ViewportPointLight light;
    light.id = viewport::Uuid::random();
    light.name = L("Lumière ", "Light ") + std::to_string(n + 1);
    light.position = {base.x + offset, base.y + offset, base.z};
    light.intensity = 1;
    auto lights = pointLights_;
    lights.push_back(light);
    write(pointLights_, std::move(lights), &DocumentModel::pointLightsChanged);
    write(selectedPointLightIndex_, int(n), &DocumentModel::selectedPointLightIndexChanged);
    if (lightingMode_ != LightingMode::point) {
        write(lightingMode_, LightingMode::point, &DocumentModel::lightingModeChanged);
        if (auto* s = scene()) s->setLightingMode(LightingMode::point);
    }
    pushPointLights();
}

void DocumentModel::removeSelectedPointLight() {
    int index = selectedPointLightIndex_;
    if (!inRange(index, pointLights_.size()) || pointLights_.size() < 2) return;
    auto lights = pointLights_;
    lights.erase(lights.begin() + index);
    int last = int(lights.size()) - 1;
    write(pointLights_, std::move(lights), &DocumentModel::pointLightsChanged);
    write(selectedPointLightIndex_, std::max(0, std::min(index, last)),
          &DocumentModel::selectedPointLightIndexChanged);
    pushPointLights();
}

void DocumentModel::centerSelectedPointLight() {
    int index = selectedPointLightIndex_;
    if (!inRange(index, pointLights_.size())) return;
    auto anchor = lightAnchor();
    if (anchor) {
        auto lights = pointLights_;
        lights[size_t(index)].position = *anchor;
        write(pointLights_, std::move(lights), &DocumentModel::pointLightsChanged);
    }
    pushPointLights();
}

void DocumentModel::moveSelectedPointLightToCamera() {
    int index = selectedPointLightIndex_;
    if (!inRange(index, pointLights_.size()) || !isReady()) return;
    auto lights = pointLights_;
    lights[size_t(index)].position = viewport_.cameraModelPosition();
    write(pointLights_, std::move(lights), &DocumentModel::pointLightsChanged);
    pushPointLights();
}

void DocumentModel::updateSelectedPointLight(std::optional<Float3> position,
                                             std::optional<float> intensity) {
    int index = selectedPointLightIndex_;
    if (!inRange(index, pointLights_.size())) return;
    auto lights = pointLights_;
    if (position) lights[size_t(index)].position = *position;
    if (intensity) lights[size_t(index)].intensity = std::clamp(*intensity, 0.0f, 3.0f);
    write(pointLights_, std::move(lights), &DocumentModel::pointLightsChanged);
    pushPointLights();
}

void DocumentModel::togglePointLightGizmo() {
    write(showsPointLightGizmo_, !showsPointLightGizmo_,
          &DocumentModel::showsPointLightGizmoChanged);
    if (auto* s = scene()) s->setShowsPointLightGizmo(showsPointLightGizmo_);
    requestRedraw();
}

void DocumentModel::selectPointLight(int index) {
    if (!inRange(index, pointLights_.size())) return;
    write(selectedPointLightIndex_, index, &DocumentModel::selectedPointLightIndexChanged);
}

void DocumentModel::setSun(float azimuth, float elevation) {
    write(sunAzimuthDegrees_, azimuth, &DocumentModel::sunAzimuthDegreesChanged);
    write(sunElevationDegrees_, elevation, &DocumentModel::sunElevationDegreesChanged);
    if (auto* s = scene()) {
        s->setSunAzimuthDegrees(azimuth);
        s->setSunElevationDegrees(elevation);
    }
    requestRedraw();
}

void DocumentModel::setSunIntensity(float value) {
    write(sunIntensity_, std::clamp(value, 0.0f, 3.0f), &DocumentModel::sunIntensityChanged);
    if (auto* s = scene()) s->setSunIntensity(sunIntensity_);
    requestRedraw();
}

void DocumentModel::setAmbientIntensity(float value) {
    write(ambientIntensity_, std::clamp(value, 0.0f, 2.0f),
          &DocumentModel::ambientIntensityChanged);
    if (auto* s = scene()) s->setAmbientIntensity(ambientIntensity_);
    requestRedraw();
}

void DocumentModel::resetSun() {
    const viewport::DocumentSettings fresh;
    write(sunAzimuthDegrees_, fresh.sunAzimuthDegrees, &DocumentModel::sunAzimuthDegreesChanged);
    write(sunElevationDegrees_, fresh.sunElevationDegrees,
          &DocumentModel::sunElevationDegreesChanged);
    write(sunIntensity_, fresh.sunIntensity, &DocumentModel::sunIntensityChanged);
    write(ambientIntensity_, fresh.ambientIntensity, &DocumentModel::ambientIntensityChanged);
    if (auto* s = scene()) {
        s->resetSun();
        s->setAmbientIntensity(ambientIntensity_);
    }
    requestRedraw();
}

}  // namespace vistrel::app

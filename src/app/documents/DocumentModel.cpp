#include "documents/DocumentModel.h"

#include <QGuiApplication>
#include <QString>

#include <algorithm>
#include <cassert>
#include <cmath>
#include <numbers>

#include "documents/Format.h"
#include "platform/QtRepeatingTimer.h"
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

// With more layers than this, every group starts closed.
constexpr size_t kExpandedGroupsLayerLimit = 33;

float degrees(float radians) {
    return radians * 180.0f / std::numbers::pi_v<float>;
}

bool shiftFromToolkit() {
    if (!qobject_cast<QGuiApplication*>(QCoreApplication::instance())) return false;
    return QGuiApplication::queryKeyboardModifiers().testFlag(Qt::ShiftModifier);
}

}  // namespace

viewport::DocumentSettings DocumentModel::initialSettings() {
    viewport::DocumentSettings s;
    s.showsEdges = Preferences::boolValue("showsEdges");
    s.showsGrid = Preferences::boolValue("showsGrid");
    s.isPerspective = Preferences::boolValue("isPerspective");
    s.shadowsEnabled = Preferences::boolValue("shadowsEnabled");
    s.ambientOcclusionEnabled = Preferences::boolValue("ambientOcclusionEnabled");
    s.ambientOcclusionIntensity = Preferences::ambientOcclusionIntensity();
    s.backdropStyle =
        viewport::backdropStyleFromRaw(Preferences::backdropStyleRaw()).value_or(s.backdropStyle);
    s.customBackdropColor = Preferences::customBackdropColor();
    return s;
}

DocumentModel::DocumentModel(viewport::RepeatingTimer& timer, const viewport::Clock& clock,
                             QObject* parent)
    : DocumentModel(timer, clock, parent, initialSettings()) {}

DocumentModel::DocumentModel(viewport::RepeatingTimer& timer, const viewport::Clock& clock,
                             QObject* parent, const viewport::DocumentSettings& initial)
    : QObject(parent),
      isShiftHeld(shiftFromToolkit),
      state_(Loading{}),
      viewport_(timer, clock, maximumScreenFramesPerSecond),
      clock_(clock),
      showsEdges_(initial.showsEdges),
      showsGrid_(initial.showsGrid),
      isPerspective_(initial.isPerspective),
      shadowsEnabled_(initial.shadowsEnabled),
      ambientOcclusionEnabled_(initial.ambientOcclusionEnabled),
      ambientOcclusionIntensity_(initial.ambientOcclusionIntensity),
      shadingStyle_(initial.shadingStyle),
      backdropStyle_(initial.backdropStyle),
      customBackdropColor_(initial.customBackdropColor),
      lightingMode_(initial.lightingMode),
      showsPointLightGizmo_(initial.showsPointLightGizmo),
      sunAzimuthDegrees_(initial.sunAzimuthDegrees),
      sunElevationDegrees_(initial.sunElevationDegrees),
      sunIntensity_(initial.sunIntensity),
      ambientIntensity_(initial.ambientIntensity),
      cameraFOV_(initial.fovDegrees),
      cameraExposure_(initial.exposureOffset),
      cameraOrthoScale_(initial.orthographicScale),
      cameraSpeedScale_(initial.movementSpeedScale) {
    viewport_.setSize({800, 600});
    // The view is a member: it cannot outlive this model, so `this` is safe in its callbacks.
    viewport_.onFreeFlyingChange = [this](bool flying) {
        write(isFreeFlying_, flying, &DocumentModel::isFreeFlyingChanged);
    };
    viewport_.onPoseChange = [this](Float3, float, float, float) {
        syncCameraStateFromViewport();
        if (onCameraFeedback) onCameraFeedback(*this);
    };
    viewport_.onResetView = [this](bool perspective) {
        write(activeStandardView_, std::nullopt, &DocumentModel::activeStandardViewChanged);
        write(isPerspective_, perspective, &DocumentModel::isPerspectiveChanged);
        syncCameraStateFromViewport();
    };
    viewport_.onHoverLayer = [this](std::optional<int> index) { setHoveredLayer(index); };
    viewport_.onSelectLayer = [this](int index) { selectLayerFromViewport(index); };
}

DocumentModel::~DocumentModel() {
    viewport_.onFreeFlyingChange = nullptr;
    viewport_.onPoseChange = nullptr;
    viewport_.onResetView = nullptr;
    viewport_.onHoverLayer = nullptr;
    viewport_.onSelectLayer = nullptr;
}

// MARK: Lifecycle

void DocumentModel::setInfo(std::optional<SKPFileInfo> info) {
    write(info_, std::move(info), &DocumentModel::infoChanged);
    QImage image;
    if (info_ && info_->thumbnailPNG) {
        const auto& png = *info_->thumbnailPNG;
        image = QImage::fromData(png.data(), int(png.size()), "PNG");
    }
    write(thumbnail_, image, &DocumentModel::thumbnailChanged);
    write(sketchUpApp_, info_ ? sketchUpApp(info_->url) : std::nullopt,
          &DocumentModel::sketchUpAppChanged);
}

void DocumentModel::setState(State state) {
    assert(!std::holds_alternative<Ready>(state) && "a document becomes ready through present()");
    write(state_, std::move(state), &DocumentModel::stateChanged);
    updateVisibleSize();
}

void DocumentModel::setSkp(std::shared_ptr<const SKPModel> model) {
    write(skp_, std::move(model), &DocumentModel::skpChanged);
    const SKPModel& m = *skp_;
    std::vector<bool> visible;
    visible.reserve(m.layers.size());
    for (const auto& layer : m.layers) visible.push_back(layer.isVisible);
    write(layerVisible_, std::move(visible), &DocumentModel::layerVisibleChanged);
    std::set<std::string> expanded;
    if (m.layers.size() < kExpandedGroupsLayerLimit) {
        for (const auto& group : m.layerGroups())
            if (!group.isSingle()) expanded.insert(group.id);
    }
    write(expandedLayerGroups_, std::move(expanded), &DocumentModel::expandedLayerGroupsChanged);
    bool worthShowing = !m.scenes.empty() || m.layers.size() > 1;
    write(showSidebar_, Preferences::boolValue("showSidebar") && worthShowing,
          &DocumentModel::showSidebarChanged);
}

void DocumentModel::set(SKPModel model) {
    setSkp(std::make_shared<const SKPModel>(std::move(model)));
}

void DocumentModel::present(std::shared_ptr<ViewportScene> scene, double seconds) {
    // Shares the scene's model rather than copying it.
    setSkp(std::shared_ptr<const SKPModel>(scene, &scene->model()));
    const SKPModel& model = *skp_;
    write(loadSeconds_, seconds, &DocumentModel::loadSecondsChanged);
    if (model.fileInfo.isCAD() || (model.stats.faces == 0 && model.stats.edges > 0))
        write(showsEdges_, true, &DocumentModel::showsEdgesChanged);

    scene->setShowsEdges(showsEdges_);
    scene->setShadowsEnabled(shadowsEnabled_);
    scene->setShadingStyle(shadingStyle_);
    scene->setCustomBackdropColor(customBackdropColor_);
    scene->setBackdropStyle(backdropStyle_);
    scene->setShowsGrid(showsGrid_);
    scene->setSunAzimuthDegrees(sunAzimuthDegrees_);
    scene->setSunElevationDegrees(sunElevationDegrees_);
    scene->setSunIntensity(sunIntensity_);
    scene->setAmbientIntensity(ambientIntensity_);
    scene->setShowsPointLightGizmo(showsPointLightGizmo_);

    if (!scene->detectedSceneLights().empty()) {
        write(pointLights_, scene->detectedSceneLights(), &DocumentModel::pointLightsChanged);
        write(selectedPointLightIndex_, 0, &DocumentModel::selectedPointLightIndexChanged);
    }
    scene->setLightingMode(lightingMode_);
    if (!pointLights_.empty()) scene->setPointLights(pointLights_);

    viewport_.setAmbientOcclusionIntensity(ambientOcclusionIntensity_);
    viewport_.setAmbientOcclusionEnabled(ambientOcclusionEnabled_);
    // Without a timer of its own the layer flash would never fade.
    scene->setTimerSource(std::make_unique<QtRepeatingTimer>(), &clock_);

    write(state_, Ready{scene}, &DocumentModel::stateChanged);
    viewport_.present(scene);

    bool hasCamera = model.camera.has_value();
    if (!hasCamera)
        write(activeStandardView_, model.isPlanar2D() ? StandardView::top : StandardView::iso,
              &DocumentModel::activeStandardViewChanged);
    updateVisibleSize();
    if (!hasCamera && !viewport_.rig().is2DMode && viewport_.isPerspective() != isPerspective_)
        viewport_.setPerspective(isPerspective_);
    write(isPerspective_, viewport_.isPerspective(), &DocumentModel::isPerspectiveChanged);
    syncCameraStateFromViewport();
}

viewport::DocumentSettings DocumentModel::settings() const {
    viewport::DocumentSettings s;
    s.showsEdges = showsEdges_;
    s.showsGrid = showsGrid_;
    s.isPerspective = isPerspective_;
    s.shadowsEnabled = shadowsEnabled_;
    s.ambientOcclusionEnabled = ambientOcclusionEnabled_;
    s.ambientOcclusionIntensity = ambientOcclusionIntensity_;
    s.backdropStyle = backdropStyle_;
    s.customBackdropColor = customBackdropColor_;
    s.shadingStyle = shadingStyle_;
    s.lightingMode = lightingMode_;
    s.showsPointLightGizmo = showsPointLightGizmo_;
    s.sunAzimuthDegrees = sunAzimuthDegrees_;
    s.sunElevationDegrees = sunElevationDegrees_;
    s.sunIntensity = sunIntensity_;
    s.ambientIntensity = ambientIntensity_;
    // The camera's own values: the fields lag it between syncs.
    s.fovDegrees = float(viewport_.fieldOfView());
    s.exposureOffset = float(viewport_.exposureOffset());
    s.orthographicScale = float(viewport_.orthographicScale());
    s.movementSpeedScale = float(viewport_.movementSpeedScale());
    return s;
}

void DocumentModel::syncCameraStateFromViewport() {
    if (auto pose = viewport_.cameraPose()) {
        write(cameraPosition_, pose->position, &DocumentModel::cameraPositionChanged);
        write(cameraYaw_, degrees(pose->yaw), &DocumentModel::cameraYawChanged);
        write(cameraPitch_, degrees(pose->pitch), &DocumentModel::cameraPitchChanged);
        write(cameraDistance_, pose->distance, &DocumentModel::cameraDistanceChanged);
    }
    write(cameraFOV_, float(viewport_.fieldOfView()), &DocumentModel::cameraFOVChanged);
    write(cameraExposure_, float(viewport_.exposureOffset()),
          &DocumentModel::cameraExposureChanged);
    write(cameraOrthoScale_, float(viewport_.orthographicScale()),
          &DocumentModel::cameraOrthoScaleChanged);
    write(cameraSpeedScale_, float(viewport_.movementSpeedScale()),
          &DocumentModel::cameraSpeedScaleChanged);
}

void DocumentModel::updateVisibleSize() {
    std::optional<Float3> size;
    if (auto* s = scene()) {
        auto bounds = s->visibleBounds();
        size = bounds.max - bounds.min;
    }
    write(visibleSize_, size, &DocumentModel::visibleSizeChanged);
}

void DocumentModel::requestRedraw() {
    viewport_.requestRedraw();
}

ViewportScene* DocumentModel::scene() const {
    if (auto* ready = std::get_if<Ready>(&state_)) return ready->scene.get();
    return nullptr;
}

// MARK: Texts

std::string DocumentModel::statusText() const {
    if (auto* failed = std::get_if<Failed>(&state_)) return failed->description;
    if (isFreeFlying_) return L("Vol libre — Échap pour sortir", "Free fly — Esc to exit");
    if (skp_) {
        std::vector<std::string> pieces;
        if (info_ && info_->versionLabel)
            pieces.push_back(*info_->versionLabel);
        else if (skp_->fileInfo.versionLabel)
            pieces.push_back(*skp_->fileInfo.versionLabel);
        pieces.push_back(Format::count(skp_->stats.faces, "face"));
        pieces.push_back(Format::count(skp_->stats.edges, L("arête", "edge")));
        pieces.push_back(Format::count(skp_->stats.instances, L("composant", "component")));
        Float3 size = visibleSize_ ? *visibleSize_ : skp_->boundsMax - skp_->boundsMin;
        pieces.push_back(Format::decimal(size.x) + " × " + Format::decimal(size.y) + " × " +
                         Format::decimal(size.z) + " m");
        std::string text;
        for (size_t i = 0; i < pieces.size(); ++i) {
            if (i > 0) text += " · ";
            text += pieces[i];
        }
        return text;
    }
    std::string text = L("Chargement…", "Loading…");
    if (auto* loading = std::get_if<Loading>(&state_); loading && loading->progress)
        text += " " + loading->progress->phase + " · " +
                Format::count(loading->progress->faces, "face");
    return text;
}

bool DocumentModel::isCAD() const {
    if (skp_ && skp_->fileInfo.isCAD()) return true;
    return info_ && info_->isCAD();
}

std::optional<std::string> DocumentModel::hoveredLayerName() const {
    if (!skp_ || !hoveredLayerIndex_) return std::nullopt;
    int i = *hoveredLayerIndex_;
    if (i < 0 || size_t(i) >= skp_->layers.size()) return std::nullopt;
    return skp_->layers[size_t(i)].name;
}

int DocumentModel::visibleLayerCount() const {
    return int(std::count(layerVisible_.begin(), layerVisible_.end(), true));
}

std::optional<ViewportPointLight> DocumentModel::selectedPointLight() const {
    int i = selectedPointLightIndex_;
    if (i < 0 || size_t(i) >= pointLights_.size()) return std::nullopt;
    return pointLights_[size_t(i)];
}

// MARK: Plain state

void DocumentModel::setLayerFilter(std::string filter) {
    write(layerFilter_, std::move(filter), &DocumentModel::layerFilterChanged);
}

void DocumentModel::setFlashMessage(std::optional<std::string> message) {
    write(flashMessage_, std::move(message), &DocumentModel::flashMessageChanged);
}

void DocumentModel::setSnapshotPreviewImage(QImage image) {
    write(snapshotPreviewImage_, std::move(image), &DocumentModel::snapshotPreviewImageChanged);
}

}  // namespace vistrel::app

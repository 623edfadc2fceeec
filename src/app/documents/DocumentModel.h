// The one observable object of a document: load state, scene model, layer visibility,
// rendering settings, the camera as last reported, and the document's one ViewportView.
//
// Every menu, toolbar, sidebar and remote command ends in an operation here. Each writes its
// fields at once, in any state, and reaches the scene and the view only while the state is
// ready; present() pushes the fields into a scene that arrives later. Every write of an
// observable field emits that field's change signal, also when the value is unchanged.
// Preferences are written the moment a command changes them. Main thread only.
//
// A command given an index out of range does nothing.
#pragma once

#include <QImage>
#include <QObject>

#include <cstdint>
#include <filesystem>
#include <functional>
#include <memory>
#include <optional>
#include <set>
#include <string>
#include <variant>
#include <vector>

#include "identify/SKPFileInfo.h"
#include "model/Math.h"
#include "model/SKPModel.h"
#include "pdf/VectorPDFExporter.h"
#include "scene/ViewportScene.h"
#include "sketchup/SKPReader.h"
#include "view/ViewportView.h"
#include "vocabulary/BackdropStyle.h"
#include "vocabulary/DocumentSettings.h"
#include "vocabulary/LightingMode.h"
#include "vocabulary/ShadingStyle.h"
#include "vocabulary/StandardView.h"
#include "vocabulary/ViewportPointLight.h"

namespace vistrel::app {

class DocumentModel : public QObject {
    Q_OBJECT

  public:
    struct Loading {
        std::optional<SKPReader::Progress> progress;
    };
    struct Ready {
        std::shared_ptr<viewport::ViewportScene> scene;
    };
    struct Failed {
        std::string description;  // already in the user's language
    };
    // Goes from Loading to Ready or Failed, never back.
    using State = std::variant<Loading, Ready, Failed>;

    struct ClosedRange {
        double lower = 0, upper = 0;
    };

    // Fields take their defaults and preferences; the viewport (800 x 600 points) runs its rig
    // on `timer` and `clock`, which must outlive the model.
    DocumentModel(viewport::RepeatingTimer& timer, const viewport::Clock& clock,
                  QObject* parent = nullptr);
    ~DocumentModel() override;

    // What a new document starts with: the fresh settings with the user's preferences laid over.
    static viewport::DocumentSettings initialSettings();
    // The look and camera as they stand.
    viewport::DocumentSettings settings() const;

    // Called with this model after every camera move that did not come from OSC.
    std::function<void(DocumentModel&)> onCameraFeedback;
    // Whether shift is held, for scene changes that do not say their speed. Defaults to the
    // toolkit's modifier keys (never held without a GUI application).
    std::function<bool()> isShiftHeld;

    // Lifecycle. setState reports loading progress and failures; only present() makes the
    // document ready, and passing Ready here is a programming error.
    void setInfo(std::optional<SKPFileInfo> info);
    void setState(State state);
    void set(SKPModel model);
    void present(std::shared_ptr<viewport::ViewportScene> scene, double seconds);
    void syncCameraStateFromViewport();

    // Texts and computed values.
    std::string statusText() const;
    bool isCAD() const;
    std::optional<std::string> hoveredLayerName() const;
    int visibleLayerCount() const;
    std::optional<viewport::ViewportPointLight> selectedPointLight() const;
    // The scene while ready, otherwise null.
    viewport::ViewportScene* scene() const;
    bool isReady() const { return scene() != nullptr; }

    // Scenes.
    void selectScene(int index, std::optional<bool> slow = std::nullopt);
    void previousScene(std::optional<bool> slow = std::nullopt);
    void nextScene(std::optional<bool> slow = std::nullopt);

    // Layers.
    void toggleLayer(int index);
    void selectLayer(int index);
    void selectLayerFromViewport(int index);
    void setHoveredLayer(std::optional<int> index);
    void zoomToLayer(int index, bool animated);
    void setAllLayers(bool visible);
    void soloLayer(int index);

    // Layer groups.
    void selectLayerGroup(const LayerGroup& group);
    void setLayerGroup(const LayerGroup& group, bool visible);
    void zoomToLayerGroup(const LayerGroup& group, bool animated);
    void soloLayerGroup(const LayerGroup& group);
    void toggleLayerGroupExpanded(const std::string& id);
    void setAllLayerGroupsExpanded(bool expanded);

    // Plain state set by the interface.
    void setLayerFilter(std::string filter);
    void setFlashMessage(std::optional<std::string> message);
    void setSnapshotPreviewImage(QImage image);

    // Camera.
    void resetView();
    void setActiveStandardView(std::optional<viewport::StandardView> view);
    void setPerspective(bool perspective);
    void setCameraFocalLength(float mm);
    // Each stores its field and sets the view; callers clamp to what they publish.
    void setCameraFOV(float degrees);
    void setCameraExposure(float offset);
    void setCameraOrthoScale(float scale);
    void setCameraSpeedScale(float scale);
    // While ready: marks `view` active and flies there. Otherwise nothing.
    void lookStandardView(viewport::StandardView view);
    void setCameraEyeHeight(float height);
    void centerCameraInModel();
    // The one road for a free camera pose from any source: absent keeps a value. Moving the
    // position or the angles leaves the standard view; the distance is held to 0.05 at least.
    void setCameraPose(std::optional<Float3> position, std::optional<float> yawDegrees,
                       std::optional<float> pitchDegrees, std::optional<float> distance);
    ClosedRange cameraDistanceRange();
    ClosedRange pointLightCoordinateRange();

    // Look.
    void setShadingStyle(viewport::ShadingStyle style);
    void setBackdropStyle(viewport::BackdropStyle style);
    void setCustomBackdropColor(Float3 color);
    void toggleGrid();
    void toggleShadows();
    void toggleEdges();
    void toggleSidebar();
    void toggleAmbientOcclusion();
    void setAmbientOcclusionIntensity(float value);

    // Lighting.
    void setLightingMode(viewport::LightingMode mode);
    void addPointLight();
    void removeSelectedPointLight();
    void centerSelectedPointLight();
    void moveSelectedPointLightToCamera();
    void updateSelectedPointLight(std::optional<Float3> position, std::optional<float> intensity);
    void togglePointLightGizmo();
    void selectPointLight(int index);
    void setSun(float azimuth, float elevation);
    void setSunIntensity(float value);
    void setAmbientIntensity(float value);
    void resetSun();

    // Capture and hand-over, through Workspace::current(). The picture or PDF is taken when the
    // command is given, before any panel opens; writing is atomic, and a failed write is shown
    // with presentError and leaves what was at the path. A snapshot that gives no image drops
    // the command silently. These need the ready state; the hand-over ones need only info.
    void copyImage();
    void exportImage();
    void exportVectorPDF();
    // The view as vector PDF, on a page of `pageSize` points or the view's own; absent unless
    // ready or when the exporter fails.
    std::optional<std::vector<std::uint8_t>> renderVectorPDF(
        std::optional<Float2> pageSize = std::nullopt);
    // What that export draws: the look of settings(), the view's camera, the visible layers.
    viewport::VectorPDFExporter::Options vectorPDFOptions(std::optional<Float2> pageSize) const;
    // Shows `text` as flashMessage for 2 seconds; a newer different message keeps its own time.
    void flash(std::string text);
    void openInSketchUp();
    void revealInFinder();
    // Runs `action` once on the main thread `seconds` from now, after the model may be gone.
    // QTimer::singleShot unless a test drives time by hand.
    std::function<void(double seconds, std::function<void()> action)> scheduleAfter =
        singleShotAfter;
    static void singleShotAfter(double seconds, std::function<void()> action);

    // Fields.
    const std::optional<SKPFileInfo>& info() const { return info_; }
    const QImage& thumbnail() const { return thumbnail_; }  // null when absent
    const std::optional<std::filesystem::path>& sketchUpApp() const { return sketchUpApp_; }
    const State& state() const { return state_; }
    const SKPModel* skp() const { return skp_.get(); }
    const std::optional<Float3>& visibleSize() const { return visibleSize_; }
    viewport::ViewportView& viewport() { return viewport_; }
    const viewport::ViewportView& viewport() const { return viewport_; }
    std::optional<int> selectedScene() const { return selectedScene_; }
    const std::vector<bool>& layerVisible() const { return layerVisible_; }
    const std::string& layerFilter() const { return layerFilter_; }
    const std::set<std::string>& expandedLayerGroups() const { return expandedLayerGroups_; }
    std::optional<int> selectedLayerIndex() const { return selectedLayerIndex_; }
    const std::optional<std::string>& selectedLayerGroupID() const { return selectedLayerGroupID_; }
    std::optional<int> hoveredLayerIndex() const { return hoveredLayerIndex_; }
    int scrollToLayerTrigger() const { return scrollToLayerTrigger_; }
    bool showsEdges() const { return showsEdges_; }
    bool showsGrid() const { return showsGrid_; }
    bool isPerspective() const { return isPerspective_; }
    bool shadowsEnabled() const { return shadowsEnabled_; }
    bool ambientOcclusionEnabled() const { return ambientOcclusionEnabled_; }
    float ambientOcclusionIntensity() const { return ambientOcclusionIntensity_; }
    viewport::ShadingStyle shadingStyle() const { return shadingStyle_; }
    viewport::BackdropStyle backdropStyle() const { return backdropStyle_; }
    Float3 customBackdropColor() const { return customBackdropColor_; }
    viewport::LightingMode lightingMode() const { return lightingMode_; }
    const std::vector<viewport::ViewportPointLight>& pointLights() const { return pointLights_; }
    int selectedPointLightIndex() const { return selectedPointLightIndex_; }
    bool showsPointLightGizmo() const { return showsPointLightGizmo_; }
    float sunAzimuthDegrees() const { return sunAzimuthDegrees_; }
    float sunElevationDegrees() const { return sunElevationDegrees_; }
    float sunIntensity() const { return sunIntensity_; }
    float ambientIntensity() const { return ambientIntensity_; }
    std::optional<viewport::StandardView> activeStandardView() const { return activeStandardView_; }
    Float3 cameraPosition() const { return cameraPosition_; }
    float cameraYaw() const { return cameraYaw_; }
    float cameraPitch() const { return cameraPitch_; }
    float cameraDistance() const { return cameraDistance_; }
    float cameraFOV() const { return cameraFOV_; }
    float cameraExposure() const { return cameraExposure_; }
    float cameraOrthoScale() const { return cameraOrthoScale_; }
    float cameraSpeedScale() const { return cameraSpeedScale_; }
    bool showSidebar() const { return showSidebar_; }
    std::optional<double> loadSeconds() const { return loadSeconds_; }
    bool isFreeFlying() const { return isFreeFlying_; }
    const std::optional<std::string>& flashMessage() const { return flashMessage_; }
    const QImage& snapshotPreviewImage() const { return snapshotPreviewImage_; }

  signals:
    void infoChanged();
    void thumbnailChanged();
    void sketchUpAppChanged();
    void stateChanged();
    void skpChanged();
    void visibleSizeChanged();
    void selectedSceneChanged();
    void layerVisibleChanged();
    void layerFilterChanged();
    void expandedLayerGroupsChanged();
    void selectedLayerIndexChanged();
    void selectedLayerGroupIDChanged();
    void hoveredLayerIndexChanged();
    void scrollToLayerTriggerChanged();
    void showsEdgesChanged();
    void showsGridChanged();
    void isPerspectiveChanged();
    void shadowsEnabledChanged();
    void ambientOcclusionEnabledChanged();
    void ambientOcclusionIntensityChanged();
    void shadingStyleChanged();
    void backdropStyleChanged();
    void customBackdropColorChanged();
    void lightingModeChanged();
    void pointLightsChanged();
    void selectedPointLightIndexChanged();
    void showsPointLightGizmoChanged();
    void sunAzimuthDegreesChanged();
    void sunElevationDegreesChanged();
    void sunIntensityChanged();
    void ambientIntensityChanged();
    void activeStandardViewChanged();
    void cameraPositionChanged();
    void cameraYawChanged();
    void cameraPitchChanged();
    void cameraDistanceChanged();
    void cameraFOVChanged();
    void cameraExposureChanged();
    void cameraOrthoScaleChanged();
    void cameraSpeedScaleChanged();
    void showSidebarChanged();
    void loadSecondsChanged();
    void isFreeFlyingChanged();
    void flashMessageChanged();
    void snapshotPreviewImageChanged();

  private:
    DocumentModel(viewport::RepeatingTimer& timer, const viewport::Clock& clock, QObject* parent,
                  const viewport::DocumentSettings& initial);
    template <class T, class U>
    void write(T& field, U&& value, void (DocumentModel::*signal)()) {
        field = std::forward<U>(value);
        (this->*signal)();
    }
    void setSkp(std::shared_ptr<const SKPModel> model);
    void updateVisibleSize();
    void requestRedraw();
    void pushLayers();
    void pulse(const std::set<int>& layers);
    void frameLayers(const std::set<int>& layers, bool animated);
    void pushPointLights();
    viewport::ViewportScene::Bounds referenceBounds();
    // The SketchUp application that opens `url`: the one carrying the library in use, else the
    // desktop's first whose name begins with "SketchUp".
    std::optional<std::filesystem::path> sketchUpApp(const std::filesystem::path& url) const;
    std::string suggestedExportName(const std::string& extension) const;
    void saveExport(const std::vector<std::uint8_t>& bytes, const std::string& extension,
                    const std::string& title, const std::string& doneMessage);
    // Where a new or re-centred light goes; absent without a model.
    std::optional<Float3> lightAnchor();

    std::optional<SKPFileInfo> info_;
    QImage thumbnail_;
    std::optional<std::filesystem::path> sketchUpApp_;
    State state_;
    std::shared_ptr<const SKPModel> skp_;
    std::optional<Float3> visibleSize_;
    viewport::ViewportView viewport_;
    std::optional<int> selectedScene_;
    std::vector<bool> layerVisible_;
    std::string layerFilter_;
    std::set<std::string> expandedLayerGroups_;
    std::optional<int> selectedLayerIndex_;
    std::optional<std::string> selectedLayerGroupID_;
    std::optional<int> hoveredLayerIndex_;
    int scrollToLayerTrigger_ = 0;
    const viewport::Clock& clock_;
    bool showsEdges_;
    bool showsGrid_;
    bool isPerspective_;
    bool shadowsEnabled_;
    bool ambientOcclusionEnabled_;
    float ambientOcclusionIntensity_;
    viewport::ShadingStyle shadingStyle_;
    viewport::BackdropStyle backdropStyle_;
    Float3 customBackdropColor_;
    viewport::LightingMode lightingMode_;
    std::vector<viewport::ViewportPointLight> pointLights_;
    int selectedPointLightIndex_ = 0;
    bool showsPointLightGizmo_;
    float sunAzimuthDegrees_;
    float sunElevationDegrees_;
    float sunIntensity_;
    float ambientIntensity_;
    std::optional<viewport::StandardView> activeStandardView_;
    Float3 cameraPosition_{0, 0, 0};
    float cameraYaw_ = 0;
    float cameraPitch_ = 0;
    float cameraDistance_ = 1;
    float cameraFOV_;
    float cameraExposure_;
    float cameraOrthoScale_;
    float cameraSpeedScale_;
    bool showSidebar_ = false;
    std::optional<double> loadSeconds_;
    bool isFreeFlying_ = false;
    std::optional<std::string> flashMessage_;
    QImage snapshotPreviewImage_;
};

}  // namespace vistrel::app

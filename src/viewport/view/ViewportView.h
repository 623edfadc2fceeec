// The surface a ViewportScene is shown on, and the one place where mouse, wheel, trackpad and
// keyboard events become camera moves. Owns the rig and the camera node; knows nothing of
// documents and reports through the on… callbacks. All four navigation modes (orbit and pan by
// mouse, game-editor look and fly, trackpad gestures, free fly) are active at once.
//
// The toolkit adapter translates its events into ViewportEvents records, forwards the view's
// size in points, and draws when onRedraw asks. Main thread only. Angles of the public camera
// state are degrees unless named otherwise; poses carry radians as CameraRig has them.
#pragma once

#include <cstdint>
#include <functional>
#include <memory>
#include <optional>

#include "camera/CameraNode.h"
#include "camera/CameraRig.h"
#include "image/Image.h"
#include "model/Math.h"
#include "model/SKPModel.h"
#include "scene/SceneNode.h"
#include "scene/ViewportScene.h"
#include "timing/Clock.h"
#include "timing/RepeatingTimer.h"
#include "view/CursorControl.h"
#include "view/ViewportEvents.h"
#include "vocabulary/StandardView.h"

namespace vistrel::viewport {

class ViewportView {
  public:
    enum class Drag { orbit, pan, look, rotate2D };

    // `timer` and `clock` drive the rig and must outlive the view; `maximumFramesPerSecond` is
    // the rig's tick rate source. `cursor` may be null.
    ViewportView(RepeatingTimer& timer, const Clock& clock,
                 std::function<double()> maximumFramesPerSecond = {},
                 CursorControl* cursor = nullptr);
    ViewportView(const ViewportView&) = delete;
    ViewportView& operator=(const ViewportView&) = delete;

    // Shared by every view: the preference of that name, copied at launch.
    static inline bool twoFingerScrollZooms = false;

    // Callbacks, all optional.
    std::function<void()> onRedraw;     // something changed: draw again
    std::function<void()> onTakeFocus;  // become the keyboard's first responder
    std::function<void(bool)> onFreeFlyingChange;
    // Position, yaw and pitch in radians, and the key-flight speed in metres per second.
    std::function<void(Float3, float, float, float)> onPoseChange;
    std::function<void(bool)> onResetView;  // with isPerspective
    std::function<void(std::optional<int>)> onHoverLayer;
    std::function<void(int)> onSelectLayer;

    // The picture of the view at its size in pixels (points times backing scale), or absent
    // without a scene or a GL context. The on-screen adapter sets `snapshotter` so that the
    // picture comes from its own context; otherwise the view renders in an offscreen context of
    // its own, made at the first call and kept.
    std::function<std::optional<Image>()> snapshotter;
    std::optional<Image> snapshot();

    // The pointer the view hides and holds for look and free fly; may be null. Set by the
    // toolkit adapter, which must outlive its use or set null first.
    void setCursorControl(CursorControl* cursor) { cursor_ = cursor; }

    // Size of the view in points, and device pixels per point.
    void setSize(Float2 points) { size_ = points; }
    Float2 size() const { return size_; }
    void setBackingScale(float scale) { backingScale_ = scale; }
    float backingScale() const { return backingScale_; }

    const std::shared_ptr<ViewportScene>& viewportScene() const { return scene_; }
    const CameraNode& cameraNode() const { return cameraNode_; }
    // The node named "camera" under the model root that carries the scene's fill light.
    const std::shared_ptr<SceneNode>& cameraCarrier() const { return carrier_; }
    CameraRig& rig() { return rig_; }
    const CameraRig& rig() const { return rig_; }

    // Camera state. Each write clamps, reaches the camera and asks for a redraw.
    double fieldOfView() const;  // 10...120 degrees, vertical
    void setFieldOfView(double degrees);
    double exposureOffset() const;  // -3...3
    void setExposureOffset(double offset);
    double orthographicScale() const;  // 0.01...10000, half the visible height
    void setOrthographicScale(double scale);
    double movementSpeedScale() const;  // 0.0625...16; also reports the pose
    void setMovementSpeedScale(double scale);
    void requestRedraw();

    // Switching keeps the framing at the target; ambient occlusion follows the projection.
    bool isPerspective() const;
    void setPerspective(bool perspective);
    bool ambientOcclusionEnabled() const { return ambientOcclusionEnabled_; }
    double ambientOcclusionIntensity() const { return ambientOcclusionIntensity_; }
    void setAmbientOcclusionEnabled(bool enabled);
    void setAmbientOcclusionIntensity(double intensity);
    bool isFreeFlying() const { return isFreeFlying_; }
    // Captures the cursor while on; Esc or releaseInput() ends it.
    void setFreeFlying(bool flying);

    // Poses. cameraPose is present once a scene is.
    std::optional<CameraRig::Pose> cameraPose() const;
    // The eye in model space, where lights and the model live.
    Float3 cameraModelPosition() const { return rig_.pose().position; }
    // Shows the scene: the camera carrier goes under its model root, the file's camera or a
    // standard view is framed, a flat CAD drawing switches to parallel 2D navigation.
    void present(std::shared_ptr<ViewportScene> scene);
    void apply(const Camera& camera, bool animated,
               float duration = CameraRig::defaultGlideDuration);
    void look(StandardView view, bool animated);
    void resetView(bool animated);
    void zoomExtents(bool animated);
    // Fits the visible bounds seen from the pose's direction.
    void frame(const CameraRig::Pose& pose, bool animated);
    // Fits a given box, with more margin (zoom to a layer).
    void frameBounds(Float3 min, Float3 max, bool animated,
                     float duration = CameraRig::defaultGlideDuration);
    // A missing argument keeps its value; pitch is clamped to ±89 degrees; no glide.
    void setCameraPose(std::optional<Float3> position, std::optional<float> yawDegrees,
                       std::optional<float> pitchDegrees, std::optional<float> distance);
    void setCameraTarget(Float3 target, bool animated);
    // Position and target closer than 0.0001 keep the direction.
    void setCameraLookAt(Float3 position, Float3 target, bool animated);
    void orbitByDegrees(float yaw, float pitch);
    void levelHorizon(bool animated);

    // A 24 x 36 mm frame: focal length for a vertical angle of view, and back.
    static double focalLengthMM(double verticalFOVDegrees);
    static double verticalFOVDegrees(double focalLengthMM);

    // Rays and picking, for a point in view coordinates.
    Float3 ray(Float2 point) const;
    // The visible surface under the point, in model space; absent without a scene or a hit.
    std::optional<Float3> hit(Float2 point);
    std::optional<int> pickLayer(Float2 point, float radiusPoints);
    float visibleHeight() const;

    // Input. Each returns nothing; key handlers answer whether the key was used, so that the
    // adapter passes the rest on.
    void mouseDown(const MouseEvent& event);
    void mouseDragged(const MouseEvent& event);
    void mouseUp(const MouseEvent& event);
    void rightMouseDown(const MouseEvent& event);
    void rightMouseDragged(const MouseEvent& event);
    void rightMouseUp(const MouseEvent& event);
    void otherMouseDown(const MouseEvent& event);
    void otherMouseDragged(const MouseEvent& event);
    void otherMouseUp(const MouseEvent& event);
    void mouseMoved(const MouseEvent& event);
    void mouseExited();
    void scrollWheel(const WheelEvent& event);
    void magnify(const MagnifyEvent& event);
    void rotate(const RotateEvent& event);
    bool keyDown(const KeyEvent& event);
    bool keyUp(const KeyEvent& event);
    void flagsChanged(Modifiers modifiers);
    // For shortcuts the toolkit offers before keyDown; call only while the view has focus.
    bool performKeyEquivalent(const KeyEvent& event);
    // Drops every gesture, free fly, held key and cursor hide: the window lost the keyboard or
    // the view left it, and a release may never come.
    void releaseInput();

    std::optional<Drag> drag() const { return drag_; }
    std::optional<int> hoveredLayer() const { return hoveredLayer_; }
    int cursorHides() const { return cursorHides_; }

  private:
    void rigChanged();
    void setScale(double scale);
    void moveTo(const CameraRig::Pose& pose, double toScale, bool animated, float duration);
    bool is2D() const { return rig_.is2DMode; }
    float unitsPerPoint() const;
    Float3 rayOrigin(Float2 point) const;
    void beginPivot(Float2 point);
    void endOrbit(double time);
    void recentre(Float2 point);
    void dragged(const MouseEvent& event);
    void pan(float dx, float dy);
    void zoom(float ratio, Float2 point, bool newGesture);
    bool press(const KeyEvent& event);
    void updateHoveredLayer(Float2 point);
    void captureCursor(bool centre);
    void undoCursorHide();
    ViewportScene::Bounds bounds() const;

    struct Offscreen;
    struct OffscreenDeleter {
        void operator()(Offscreen* offscreen) const;
    };
    std::unique_ptr<Offscreen, OffscreenDeleter> offscreen_;
    std::shared_ptr<ViewportScene> scene_;
    CameraNode cameraNode_;
    std::shared_ptr<SceneNode> carrier_;
    CameraRig rig_;
    CursorControl* cursor_;

    std::optional<int> hoveredLayer_;
    std::optional<Drag> drag_;
    Float2 lastPoint_, mouseDownPoint_;
    bool didDragDuringMouseDown_ = false;
    std::optional<Float3> zoomAnchor_;
    double lastWheel_ = 0;
    int cursorHides_ = 0;
    bool ambientOcclusionEnabled_ = false;
    double ambientOcclusionIntensity_ = 0.7;
    bool isFreeFlying_ = false;

    Float2 size_{1, 1};
    float backingScale_ = 1;
};

}  // namespace vistrel::viewport

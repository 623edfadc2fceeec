// ViewportView: the input rules, from event records to rig operations.
#include <algorithm>
#include <cctype>
#include <cmath>
#include <numbers>

#include "view/ViewportView.h"

namespace vistrel::viewport {

namespace {

constexpr float kOrbitPerPoint = 0.0069813165f;  // 0.4 degree
constexpr float kLookPerPoint = 0.0026179939f;   // 0.15 degree
// A release this soon after the last orbit step keeps the spin; a hesitant one stops dead.
constexpr double kInertiaWindow = 0.05;
// A click whose pointer strayed further than this is a drag and selects nothing.
constexpr float kClickSlop = 3;
constexpr float kPickRadius = 7;
// Wheel notches further apart than this start a new zoom with a new anchor.
constexpr double kWheelGestureGap = 0.15;
constexpr std::uint16_t kEscape = 53;
constexpr float kMinimumDistance = 0.001f;

bool isZ(std::string_view characters) {
    return characters.size() == 1 && std::tolower(static_cast<unsigned char>(characters[0])) == 'z';
}

bool hasCommandKeys(Modifiers m) {
    return m.command || m.control || m.option;
}

}  // namespace

// Gestures and their helpers.

void ViewportView::beginPivot(Float2 point) {
    const std::optional<Float3> h = hit(point);
    if (!h) {
        rig_.pivot.reset();
        return;
    }
    rig_.pivot = *h;
    // The target moves to the depth of what is under the cursor.
    CameraRig::Pose pose = rig_.pose();
    pose.distance = std::max(dot(pose.forward(), *h - pose.position), kMinimumDistance);
    rig_.place(pose);
}

void ViewportView::endOrbit(double time) {
    const std::optional<double> last = rig_.lastOrbitTime();
    if (last && time - *last < kInertiaWindow)
        rig_.startTicking();
    else
        rig_.clearSpin();
    rig_.forgetOrbitTime();
}

void ViewportView::recentre(Float2 point) {
    const std::optional<Float3> h = hit(point);
    if (!h) return;
    CameraRig::Pose pose = rig_.pose();
    const Float3 f = pose.forward();
    const float depth = dot(f, *h - pose.position);
    double scale = orthographicScale();
    if (isPerspective()) {
        // Two thirds of the way towards the point.
        pose.distance = std::max(depth / 3, kMinimumDistance);
    } else {
        pose.distance = std::max(depth, kMinimumDistance);
        scale /= 3;
    }
    pose.position = *h - f * pose.distance;
    moveTo(pose, scale, true, 0.3f);
}

void ViewportView::pan(float dx, float dy) {
    const float u = unitsPerPoint();
    CameraRig::Pose pose = rig_.pose();
    pose.position -= pose.right() * (dx * u) + pose.up() * (dy * u);
    rig_.place(pose);
}

void ViewportView::zoom(float ratio, Float2 point, bool newGesture) {
    CameraRig::Pose pose = rig_.pose();
    if (!isPerspective()) {
        const float u = unitsPerPoint();
        const float a = (point.x - size_.x / 2) * u, b = (point.y - size_.y / 2) * u;
        const double before = orthographicScale();
        setScale(before * ratio);
        // The clamp may have refused part of the ratio; the point under the pointer stays put
        // only with the ratio that was really applied.
        const float applied = float(orthographicScale() / before);
        pose.position += (pose.right() * a + pose.up() * b) * (1 - applied);
    } else {
        if (newGesture) zoomAnchor_ = hit(point);
        const Float3 anchor = zoomAnchor_ ? *zoomAnchor_ : pose.target();
        const float d = length(anchor - pose.position);
        pose.position += ray(point) * (d * (1 - ratio));
        pose.distance = std::max(dot(pose.forward(), anchor - pose.position), kMinimumDistance);
    }
    rig_.place(pose);
}

void ViewportView::dragged(const MouseEvent& event) {
    const Float2 p = event.point;
    if (std::hypot(p.x - mouseDownPoint_.x, p.y - mouseDownPoint_.y) > kClickSlop)
        didDragDuringMouseDown_ = true;
    const float dx = p.x - lastPoint_.x, dy = p.y - lastPoint_.y;
    lastPoint_ = p;
    if (isFreeFlying_ || drag_ == Drag::look) {
        rig_.look(event.delta.x * -kLookPerPoint, event.delta.y * -kLookPerPoint);
        return;
    }
    if (!drag_) return;
    switch (*drag_) {
        case Drag::orbit:
            rig_.orbit(dx * -kOrbitPerPoint, dy * kOrbitPerPoint, event.time);
            break;
        case Drag::pan:
            pan(dx, dy);
            break;
        case Drag::rotate2D:
            rig_.orbit(dx * -kOrbitPerPoint, 0, event.time);
            break;
        case Drag::look:
            break;
    }
}

// Buttons.

void ViewportView::mouseDown(const MouseEvent& event) {
    rig_.stop();
    if (onTakeFocus) onTakeFocus();
    lastPoint_ = mouseDownPoint_ = event.point;
    didDragDuringMouseDown_ = false;
    drag_.reset();
    if (isFreeFlying_) return;
    if (event.clickCount >= 2) {
        recentre(event.point);
        return;
    }
    if (is2D())
        drag_ = event.modifiers.option ? Drag::rotate2D : Drag::pan;
    else
        drag_ = event.modifiers.shift ? Drag::pan : Drag::orbit;
    beginPivot(event.point);
}

void ViewportView::mouseDragged(const MouseEvent& event) {
    dragged(event);
}

void ViewportView::mouseUp(const MouseEvent& event) {
    const bool selects = !didDragDuringMouseDown_ && event.clickCount == 1 && !isFreeFlying_ &&
                         !event.modifiers.option && !event.modifiers.shift;
    if (drag_ == Drag::orbit || drag_ == Drag::rotate2D) endOrbit(event.time);
    drag_.reset();
    if (!selects) return;
    if (const std::optional<int> layer = pickLayer(event.point, kPickRadius)) {
        hoveredLayer_ = layer;
        if (onHoverLayer) onHoverLayer(layer);
        if (onSelectLayer) onSelectLayer(*layer);
    }
}

void ViewportView::rightMouseDown(const MouseEvent& event) {
    rig_.stop();
    if (onTakeFocus) onTakeFocus();
    lastPoint_ = mouseDownPoint_ = event.point;
    didDragDuringMouseDown_ = false;
    if (is2D()) {
        drag_ = event.modifiers.option ? Drag::rotate2D : Drag::pan;
        beginPivot(event.point);
    } else {
        drag_ = Drag::look;
        captureCursor(false);
    }
}

void ViewportView::rightMouseDragged(const MouseEvent& event) {
    dragged(event);
}

void ViewportView::rightMouseUp(const MouseEvent& event) {
    if (drag_ == Drag::rotate2D) endOrbit(event.time);
    drag_.reset();
    if (!isFreeFlying_) undoCursorHide();
}

void ViewportView::otherMouseDown(const MouseEvent& event) {
    rig_.stop();
    if (onTakeFocus) onTakeFocus();
    lastPoint_ = mouseDownPoint_ = event.point;
    didDragDuringMouseDown_ = false;
    drag_ = Drag::pan;
    beginPivot(event.point);
}

void ViewportView::otherMouseDragged(const MouseEvent& event) {
    dragged(event);
}

void ViewportView::otherMouseUp(const MouseEvent&) {
    drag_.reset();
}

// Hover.

void ViewportView::mouseMoved(const MouseEvent& event) {
    // A captured pointer stands still; its raw motion steers the free-flying camera.
    if (isFreeFlying_) {
        rig_.look(event.delta.x * -kLookPerPoint, event.delta.y * -kLookPerPoint);
        return;
    }
    updateHoveredLayer(event.point);
}

void ViewportView::updateHoveredLayer(Float2 point) {
    if (drag_ || isFreeFlying_) return;
    const std::optional<int> layer = pickLayer(point, kPickRadius);
    if (layer == hoveredLayer_) return;
    hoveredLayer_ = layer;
    if (onHoverLayer) onHoverLayer(layer);
}

void ViewportView::mouseExited() {
    hoveredLayer_.reset();
    if (onHoverLayer) onHoverLayer(std::nullopt);
}

// Wheel, pinch and rotate.

void ViewportView::scrollWheel(const WheelEvent& event) {
    // The rig's own inertia stands in for the platform's momentum.
    if (event.momentumPhase != GesturePhase::none) return;
    const bool isTrackpad = event.hasPreciseDeltas && event.phase != GesturePhase::none;
    const float w = event.hasPreciseDeltas ? event.scrollingDelta.y / 10 : event.scrollingDelta.y;

    if (drag_ == Drag::look) {
        setMovementSpeedScale(rig_.speedScale * std::pow(1.25, double(w)));
        return;
    }
    const float ratio = std::pow(0.9f, w);
    if (isTrackpad) {
        const bool began = event.phase == GesturePhase::began;
        if (event.phase == GesturePhase::ended || event.phase == GesturePhase::cancelled) {
            endOrbit(event.time);
            return;
        }
        if (began) {
            rig_.stop();
            beginPivot(event.point);
        }
        const float dx = event.scrollingDelta.x, dy = event.scrollingDelta.y;
        const bool option = event.modifiers.option;
        if (!is2D() && option)
            pan(-dx, dy);
        else if (!is2D() && !twoFingerScrollZooms)
            rig_.orbit(dx * -kOrbitPerPoint, dy * -kOrbitPerPoint, event.time);
        else if (is2D() && option)
            rig_.orbit(dx * -kOrbitPerPoint, 0, event.time);
        else if (is2D() && !twoFingerScrollZooms)
            pan(dx, -dy);
        else
            zoom(ratio, event.point, began);
        return;
    }
    const double dt = event.time - lastWheel_;
    lastWheel_ = event.time;
    const bool newGesture = dt > kWheelGestureGap;
    if (newGesture) rig_.stop();
    zoom(ratio, event.point, newGesture);
}

void ViewportView::magnify(const MagnifyEvent& event) {
    const bool began = event.phase == GesturePhase::began;
    if (began) rig_.stop();
    zoom(1 / std::max(1 + event.magnification, 0.1f), event.point, began);
}

void ViewportView::rotate(const RotateEvent& event) {
    if (event.phase == GesturePhase::began) {
        rig_.stop();
        beginPivot(event.point);
    }
    rig_.orbit(event.rotation * -std::numbers::pi_v<float> / 180, 0);
}

// Keys.

bool ViewportView::press(const KeyEvent& event) {
    if (!CameraRig::isMoveKey(event.keyCode) || hasCommandKeys(event.modifiers)) return false;
    if (!event.isRepeat && !rig_.keys.contains(event.keyCode)) {
        // The Z of an AZERTY keyboard sits on the physical W: it resets the view unless the
        // user is flying.
        if (isZ(event.characters) && drag_ != Drag::look && !isFreeFlying_) return false;
        rig_.fast = event.modifiers.shift;
        rig_.keys.insert(event.keyCode);
        rig_.startTicking();
        return true;
    }
    rig_.fast = event.modifiers.shift;
    return true;
}

bool ViewportView::keyDown(const KeyEvent& event) {
    rig_.stop();
    if (event.keyCode == kEscape && isFreeFlying_) {
        setFreeFlying(false);
        return true;
    }
    if (press(event)) return true;
    if (isZ(event.characters) && !hasCommandKeys(event.modifiers)) {
        if (event.modifiers.shift)
            zoomExtents(true);
        else
            resetView(true);
        return true;
    }
    return false;
}

bool ViewportView::keyUp(const KeyEvent& event) {
    if (!CameraRig::isMoveKey(event.keyCode)) return false;
    rig_.keys.erase(event.keyCode);
    rig_.startTicking();
    return true;
}

void ViewportView::flagsChanged(Modifiers modifiers) {
    rig_.fast = modifiers.shift;
    // The key-up of a key held with command never arrives.
    if (modifiers.command) rig_.keys.clear();
}

bool ViewportView::performKeyEquivalent(const KeyEvent& event) {
    return press(event);
}

void ViewportView::releaseInput() {
    drag_.reset();
    setFreeFlying(false);
    rig_.keys.clear();
    rig_.startTicking();
    while (cursorHides_ > 0) undoCursorHide();
}

// Cursor.

void ViewportView::captureCursor(bool centre) {
    if (cursorHides_ == 0) {
        if (cursor_) cursor_->hide();
        ++cursorHides_;
    }
    if (cursor_) {
        if (centre) cursor_->warpToCentre();
        cursor_->setAssociated(false);
    }
}

void ViewportView::undoCursorHide() {
    if (cursorHides_ == 0) return;
    --cursorHides_;
    if (cursor_) {
        cursor_->setAssociated(true);
        cursor_->unhide();
    }
}

}  // namespace vistrel::viewport

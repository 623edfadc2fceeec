// Qt's input events as ViewportView's platform-neutral records (ViewportEvents.h). Only the
// translation lives here; every navigation rule stays in the view. Separate from the widget so
// that tests need no GL context.
//
// Conventions of the records: points in the view's coordinates, in logical points, origin at
// the bottom-left (y = height − Qt's y); times in seconds; modifiers by their Apple names
// (Alt is option, Ctrl is command, Meta/Super is control, Shift is shift).
//
// A few translations need memory of earlier events: the small state records below are owned by
// the widget, one each, and start default-constructed.
#pragma once

#include <QPointF>
#include <Qt>

#include <array>
#include <chrono>
#include <cstdint>
#include <optional>
#include <string>
#include <variant>

#include "model/Math.h"
#include "view/ViewportEvents.h"

class QKeyEvent;
class QNativeGestureEvent;
class QSinglePointEvent;
class QWheelEvent;

namespace vistrel::app::ViewportInput {

viewport::Modifiers modifiers(Qt::KeyboardModifiers flags);

// A point of the widget, in Qt's top-left logical coordinates, as the view counts it.
Float2 viewPoint(QPointF local, double viewHeight);

// Event time stamps in seconds. Qt's stamps are milliseconds of the platform's input clock;
// synthesized events often carry 0, and then the time runs on from the last real stamp by the
// steady clock, so that times stay monotonic within a view.
struct EventClock {
    std::uint64_t lastStamp = 0;
    std::chrono::steady_clock::time_point lastStampAt{};
};
double eventSeconds(EventClock& clock, std::uint64_t timestampMs);

// Raw pointer motion from successive global positions, y down as the screen counts. While the
// cursor is held, the widget warps it back after each move and the warp's own move event must
// not count.
struct PointerState {
    std::optional<QPointF> last;
    std::optional<QPointF> warpEcho;  // where a warp put the cursor, until its event arrives
};
// The motion since the last position (zero for the first one); absent for a warp's echo.
std::optional<Float2> pointerDelta(PointerState& state, QPointF global);
// The cursor was moved to `global` by the program: motion now counts from there.
void pointerWarped(PointerState& state, QPointF global);

viewport::MouseEvent mouseEvent(const QSinglePointEvent& event, double viewHeight, Float2 delta,
                                int clickCount, double time);

// Wheel and two-finger scroll. Deltas pass as Qt delivers them: Qt already applies the
// system's scrolling direction (QWheelEvent::inverted() only reports it), as macOS does for
// scrollingDelta, so a "natural" setting reaches the view's rules unchanged. A non-null
// pixelDelta gives precise deltas; otherwise angleDelta / 120 gives lines, 1 per notch, which is
// what the view's wheel zoom (0.9 to the power of the lines) expects. A phased event whose
// deltas are both null (the begin or end of a touchpad gesture) counts as precise.
struct WheelState {
    bool scrolling = false;  // a finger gesture began and has not ended
    bool momentum = false;   // the platform's momentum follows the gesture
};
struct WheelRecords {
    std::array<viewport::WheelEvent, 2> events;
    int count = 0;
};
// Phases: ScrollBegin is began, ScrollUpdate changed (began if none came before), ScrollEnd
// ended. ScrollMomentum is momentum changed with phase none; the first one, if the fingers'
// gesture had not ended, is preceded by an ended record so that the view ends its orbit at the
// lift. The ScrollEnd after momentum is momentum ended.
WheelRecords wheelEvents(const QWheelEvent& event, double viewHeight, double time,
                         WheelState& state);

// Touchpad pinch and rotate. Begin/EndNativeGesture bracket a gesture; its first zoom or
// rotate event is began, the next ones changed, and its end gives one ended record of the same
// kind with a zero value. Qt's rotation is clockwise-positive degrees; the view's is
// counter-clockwise. Other gestures give nothing.
struct GestureState {
    std::optional<Qt::NativeGestureType> active;  // zoom or rotate under way
};
using GestureRecord = std::variant<std::monostate, viewport::MagnifyEvent, viewport::RotateEvent>;
GestureRecord gestureEvent(const QNativeGestureEvent& event, double viewHeight, double time,
                           GestureState& state);

// A key press or release. The code is the physical key (KeyCodes); `characters` receives the
// typed text, which the record borrows, so it must outlive the record's use.
viewport::KeyEvent keyEvent(const QKeyEvent& event, double time, std::string& characters);

// Shift, Control, Alt, Meta and AltGr: keys that only change the flags.
bool isModifierKey(int qtKey);
// The flags once a modifier key's press or release has taken effect; platforms differ on
// whether the event's own flags include the key.
viewport::Modifiers modifiersAfterKey(const QKeyEvent& event);

}  // namespace vistrel::app::ViewportInput

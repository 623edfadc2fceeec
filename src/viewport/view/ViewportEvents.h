// Platform-neutral input records: what ViewportView needs to know of a mouse, wheel, trackpad or
// keyboard event. The toolkit adapter only translates its own events into these; every
// navigation rule lives in the view. Plain values kept together, since they travel as a family.
//
// Points are in view coordinates, in points, origin at the bottom-left corner, y growing
// upwards. Times are seconds on any monotonic clock, the same one for all events of a view.
#pragma once

#include <cstdint>
#include <string_view>

#include "model/Math.h"

namespace vistrel::viewport {

// Modifier keys by their Apple names: option is Alt, command is Ctrl on a PC keyboard.
struct Modifiers {
    bool shift = false;
    bool control = false;
    bool option = false;
    bool command = false;
};

// Where a trackpad gesture or its momentum stands; `none` for a plain wheel or no momentum.
enum class GesturePhase { none, mayBegin, began, changed, stationary, ended, cancelled };

struct MouseEvent {
    Float2 point;
    // The pointer's raw motion since the last event, y growing downwards as the screen counts;
    // it keeps arriving while the cursor is captured and the pointer stands still.
    Float2 delta;
    int clickCount = 1;
    double time = 0;
    Modifiers modifiers;
};

struct WheelEvent {
    Float2 point;
    // Positive y scrolls towards the top of the content (a wheel turned away from the user).
    Float2 scrollingDelta;
    // Pixel-precise deltas, as a trackpad gives; a notched wheel gives lines.
    bool hasPreciseDeltas = false;
    GesturePhase phase = GesturePhase::none;
    GesturePhase momentumPhase = GesturePhase::none;
    double time = 0;
    Modifiers modifiers;
};

struct MagnifyEvent {
    Float2 point;
    float magnification = 0;  // positive when the fingers spread
    GesturePhase phase = GesturePhase::none;
    double time = 0;
};

struct RotateEvent {
    Float2 point;
    float rotation = 0;  // degrees, counter-clockwise positive
    GesturePhase phase = GesturePhase::none;
    double time = 0;
};

struct KeyEvent {
    // Apple virtual key code of the physical key, whatever the layout.
    std::uint16_t keyCode = 0;
    // What the key types on the user's layout; may be empty. Borrowed for the call only.
    std::string_view characters;
    bool isRepeat = false;
    Modifiers modifiers;
    double time = 0;
};

}  // namespace vistrel::viewport

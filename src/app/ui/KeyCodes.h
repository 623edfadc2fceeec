// Physical keys as ViewportView knows them: the Apple virtual key code of the key at the same
// position on the keyboard, whatever the layout. So the physical W is 0x0D on QWERTY, where it
// types "w", and on AZERTY, where it types "z"; WASD and ZQSD fly alike.
//
// Modifier keys follow the modifier flags (ViewportInput): Ctrl is command, Alt is option,
// Super/Meta is control. PC keys without an Apple twin take the Apple key of the same place or
// role: Backspace is Delete (0x33), Delete is Forward Delete (0x75), Insert is Help (0x72),
// Print Screen, Scroll Lock and Pause are F13, F14 and F15, Num Lock is the keypad's Clear.
// Pure functions, no state.
#pragma once

#include <cstdint>
#include <optional>

namespace vistrel::app::KeyCodes {

// What a key without any Apple code becomes: no ViewportView rule reacts to it.
inline constexpr std::uint16_t unknown = 0xFFFF;

// A few Apple codes by name (Carbon's kVK_… values), for callers and tests.
inline constexpr std::uint16_t ansiA = 0x00, ansiS = 0x01, ansiD = 0x02, ansiZ = 0x06, ansiX = 0x07,
                               ansiC = 0x08, ansiQ = 0x0C, ansiW = 0x0D, ansiE = 0x0E,
                               returnKey = 0x24, tab = 0x30, space = 0x31, deleteKey = 0x33,
                               escape = 0x35, command = 0x37, shift = 0x38, option = 0x3A,
                               control = 0x3B, leftArrow = 0x7B, rightArrow = 0x7C,
                               downArrow = 0x7D, upArrow = 0x7E;

// X11/XKB keycode, as QKeyEvent::nativeScanCode gives it on xcb and wayland (the evdev code
// plus 8), to the Apple code of that position. Absent for 0 and for keys without one.
std::optional<std::uint16_t> fromXkbKeycode(std::uint32_t keycode);

// Qt::Key (an int, so that this header needs no Qt) as if typed on a US layout, for events
// that carry no scan code (the offscreen platform, synthesized events). `keypad` says that the
// key came from the numeric keypad (Qt::KeypadModifier). Shifted symbols give their key ("!"
// is the 1 key). Absent for keys without an Apple code.
std::optional<std::uint16_t> fromQtKey(int qtKey, bool keypad);

// The scan code's position when it has one, otherwise the US-layout guess from the Qt key,
// otherwise `unknown`.
std::uint16_t appleKeyCode(std::uint32_t nativeScanCode, int qtKey, bool keypad);

}  // namespace vistrel::app::KeyCodes

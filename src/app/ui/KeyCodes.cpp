#include "ui/KeyCodes.h"

#include <Qt>

#include <array>
#include <utility>

namespace vistrel::app::KeyCodes {

namespace {

constexpr std::uint16_t none = unknown;

// Linux evdev code (linux/input-event-codes.h) to Apple code, by position.
constexpr std::pair<std::uint16_t, std::uint16_t> evdevPairs[] = {
    {1, 0x35},    // Esc
    {2, 0x12},    // 1
    {3, 0x13},    // 2
    {4, 0x14},    // 3
    {5, 0x15},    // 4
    {6, 0x17},    // 5
    {7, 0x16},    // 6
    {8, 0x1A},    // 7
    {9, 0x1C},    // 8
    {10, 0x19},   // 9
    {11, 0x1D},   // 0
    {12, 0x1B},   // minus
    {13, 0x18},   // equal
    {14, 0x33},   // Backspace: Apple's Delete
    {15, 0x30},   // Tab
    {16, 0x0C},   // Q
    {17, 0x0D},   // W
    {18, 0x0E},   // E
    {19, 0x0F},   // R
    {20, 0x11},   // T
    {21, 0x10},   // Y
    {22, 0x20},   // U
    {23, 0x22},   // I
    {24, 0x1F},   // O
    {25, 0x23},   // P
    {26, 0x21},   // [
    {27, 0x1E},   // ]
    {28, 0x24},   // Enter: Return
    {29, 0x37},   // left Ctrl: command
    {30, 0x00},   // A
    {31, 0x01},   // S
    {32, 0x02},   // D
    {33, 0x03},   // F
    {34, 0x05},   // G
    {35, 0x04},   // H
    {36, 0x26},   // J
    {37, 0x28},   // K
    {38, 0x25},   // L
    {39, 0x29},   // ;
    {40, 0x27},   // '
    {41, 0x32},   // `
    {42, 0x38},   // left Shift
    {43, 0x2A},   // backslash
    {44, 0x06},   // Z
    {45, 0x07},   // X
    {46, 0x08},   // C
    {47, 0x09},   // V
    {48, 0x0B},   // B
    {49, 0x2D},   // N
    {50, 0x2E},   // M
    {51, 0x2B},   // ,
    {52, 0x2F},   // .
    {53, 0x2C},   // /
    {54, 0x3C},   // right Shift
    {55, 0x43},   // keypad *
    {56, 0x3A},   // left Alt: option
    {57, 0x31},   // Space
    {58, 0x39},   // Caps Lock
    {59, 0x7A},   // F1
    {60, 0x78},   // F2
    {61, 0x63},   // F3
    {62, 0x76},   // F4
    {63, 0x60},   // F5
    {64, 0x61},   // F6
    {65, 0x62},   // F7
    {66, 0x64},   // F8
    {67, 0x65},   // F9
    {68, 0x6D},   // F10
    {69, 0x47},   // Num Lock: keypad Clear
    {70, 0x6B},   // Scroll Lock: F14
    {71, 0x59},   // keypad 7
    {72, 0x5B},   // keypad 8
    {73, 0x5C},   // keypad 9
    {74, 0x4E},   // keypad -
    {75, 0x56},   // keypad 4
    {76, 0x57},   // keypad 5
    {77, 0x58},   // keypad 6
    {78, 0x45},   // keypad +
    {79, 0x53},   // keypad 1
    {80, 0x54},   // keypad 2
    {81, 0x55},   // keypad 3
    {82, 0x52},   // keypad 0
    {83, 0x41},   // keypad .
    {86, 0x0A},   // the ISO key beside left Shift
    {87, 0x67},   // F11
    {88, 0x6F},   // F12
    {89, 0x5E},   // JIS underscore (Ro)
    {92, 0x68},   // Henkan: Kana
    {93, 0x68},   // Katakana/Hiragana: Kana
    {94, 0x66},   // Muhenkan: Eisu
    {95, 0x5F},   // JIS keypad comma
    {96, 0x4C},   // keypad Enter
    {97, 0x36},   // right Ctrl: right command
    {98, 0x4B},   // keypad /
    {99, 0x69},   // Print Screen / SysRq: F13
    {100, 0x3D},  // right Alt: right option
    {102, 0x73},  // Home
    {103, 0x7E},  // Up
    {104, 0x74},  // Page Up
    {105, 0x7B},  // Left
    {106, 0x7C},  // Right
    {107, 0x77},  // End
    {108, 0x7D},  // Down
    {109, 0x79},  // Page Down
    {110, 0x72},  // Insert: Help
    {111, 0x75},  // Delete: forward delete
    {113, 0x4A},  // Mute
    {114, 0x49},  // Volume down
    {115, 0x48},  // Volume up
    {117, 0x51},  // keypad =
    {119, 0x71},  // Pause: F15
    {121, 0x5F},  // keypad comma
    {122, 0x68},  // Hangeul: Kana
    {123, 0x66},  // Hanja: Eisu
    {124, 0x5D},  // Yen
    {125, 0x3B},  // left Super/Meta: control
    {126, 0x3E},  // right Super/Meta: right control
    {127, 0x6E},  // Compose/Menu: contextual menu
    {138, 0x72},  // Help
    {139, 0x6E},  // Menu
    {183, 0x69},  // F13
    {184, 0x6B},  // F14
    {185, 0x71},  // F15
    {186, 0x6A},  // F16
    {187, 0x40},  // F17
    {188, 0x4F},  // F18
    {189, 0x50},  // F19
    {190, 0x5A},  // F20
};

constexpr std::array<std::uint16_t, 256> evdevTable = [] {
    std::array<std::uint16_t, 256> table{};
    table.fill(none);
    for (const auto& [evdev, apple] : evdevPairs) table[evdev] = apple;
    return table;
}();

// The evdev code a character of the US layout sits on, for the Qt-key fallback.
constexpr std::uint16_t usLayoutEvdev(int key) {
    switch (key) {
        case Qt::Key_A:
            return 30;
        case Qt::Key_B:
            return 48;
        case Qt::Key_C:
            return 46;
        case Qt::Key_D:
            return 32;
        case Qt::Key_E:
            return 18;
        case Qt::Key_F:
            return 33;
        case Qt::Key_G:
            return 34;
        case Qt::Key_H:
            return 35;
        case Qt::Key_I:
            return 23;
        case Qt::Key_J:
            return 36;
        case Qt::Key_K:
            return 37;
        case Qt::Key_L:
            return 38;
        case Qt::Key_M:
            return 50;
        case Qt::Key_N:
            return 49;
        case Qt::Key_O:
            return 24;
        case Qt::Key_P:
            return 25;
        case Qt::Key_Q:
            return 16;
        case Qt::Key_R:
            return 19;
        case Qt::Key_S:
            return 31;
        case Qt::Key_T:
            return 20;
        case Qt::Key_U:
            return 22;
        case Qt::Key_V:
            return 47;
        case Qt::Key_W:
            return 17;
        case Qt::Key_X:
            return 45;
        case Qt::Key_Y:
            return 21;
        case Qt::Key_Z:
            return 44;
        case Qt::Key_1:
        case Qt::Key_Exclam:
            return 2;
        case Qt::Key_2:
        case Qt::Key_At:
            return 3;
        case Qt::Key_3:
        case Qt::Key_NumberSign:
            return 4;
        case Qt::Key_4:
        case Qt::Key_Dollar:
            return 5;
        case Qt::Key_5:
        case Qt::Key_Percent:
            return 6;
        case Qt::Key_6:
        case Qt::Key_AsciiCircum:
            return 7;
        case Qt::Key_7:
        case Qt::Key_Ampersand:
            return 8;
        case Qt::Key_8:
        case Qt::Key_Asterisk:
            return 9;
        case Qt::Key_9:
        case Qt::Key_ParenLeft:
            return 10;
        case Qt::Key_0:
        case Qt::Key_ParenRight:
            return 11;
        case Qt::Key_Minus:
        case Qt::Key_Underscore:
            return 12;
        case Qt::Key_Equal:
        case Qt::Key_Plus:
            return 13;
        case Qt::Key_BracketLeft:
        case Qt::Key_BraceLeft:
            return 26;
        case Qt::Key_BracketRight:
        case Qt::Key_BraceRight:
            return 27;
        case Qt::Key_Semicolon:
        case Qt::Key_Colon:
            return 39;
        case Qt::Key_Apostrophe:
        case Qt::Key_QuoteDbl:
            return 40;
        case Qt::Key_QuoteLeft:
        case Qt::Key_AsciiTilde:
            return 41;
        case Qt::Key_Backslash:
        case Qt::Key_Bar:
            return 43;
        case Qt::Key_Comma:
        case Qt::Key_Less:
            return 51;
        case Qt::Key_Period:
        case Qt::Key_Greater:
            return 52;
        case Qt::Key_Slash:
        case Qt::Key_Question:
            return 53;
        case Qt::Key_Escape:
            return 1;
        case Qt::Key_Backspace:
            return 14;
        case Qt::Key_Tab:
        case Qt::Key_Backtab:
            return 15;
        case Qt::Key_Return:
            return 28;
        case Qt::Key_Enter:
            return 96;
        case Qt::Key_Space:
            return 57;
        case Qt::Key_Control:
            return 29;
        case Qt::Key_Shift:
            return 42;
        case Qt::Key_Alt:
            return 56;
        case Qt::Key_AltGr:
            return 100;
        case Qt::Key_Meta:
        case Qt::Key_Super_L:
            return 125;
        case Qt::Key_Super_R:
            return 126;
        case Qt::Key_CapsLock:
            return 58;
        case Qt::Key_NumLock:
            return 69;
        case Qt::Key_ScrollLock:
            return 70;
        case Qt::Key_Print:
        case Qt::Key_SysReq:
            return 99;
        case Qt::Key_Pause:
            return 119;
        case Qt::Key_F1:
            return 59;
        case Qt::Key_F2:
            return 60;
        case Qt::Key_F3:
            return 61;
        case Qt::Key_F4:
            return 62;
        case Qt::Key_F5:
            return 63;
        case Qt::Key_F6:
            return 64;
        case Qt::Key_F7:
            return 65;
        case Qt::Key_F8:
            return 66;
        case Qt::Key_F9:
            return 67;
        case Qt::Key_F10:
            return 68;
        case Qt::Key_F11:
            return 87;
        case Qt::Key_F12:
            return 88;
        case Qt::Key_F13:
            return 183;
        case Qt::Key_F14:
            return 184;
        case Qt::Key_F15:
            return 185;
        case Qt::Key_F16:
            return 186;
        case Qt::Key_F17:
            return 187;
        case Qt::Key_F18:
            return 188;
        case Qt::Key_F19:
            return 189;
        case Qt::Key_F20:
            return 190;
        case Qt::Key_Home:
            return 102;
        case Qt::Key_Up:
            return 103;
        case Qt::Key_PageUp:
            return 104;
        case Qt::Key_Left:
            return 105;
        case Qt::Key_Right:
            return 106;
        case Qt::Key_End:
            return 107;
        case Qt::Key_Down:
            return 108;
        case Qt::Key_PageDown:
            return 109;
        case Qt::Key_Insert:
            return 110;
        case Qt::Key_Delete:
            return 111;
        case Qt::Key_VolumeMute:
            return 113;
        case Qt::Key_VolumeDown:
            return 114;
        case Qt::Key_VolumeUp:
            return 115;
        case Qt::Key_Help:
            return 138;
        case Qt::Key_Menu:
            return 139;
        default:
            return 0;
    }
}

// The same keys on the numeric keypad, with Num Lock on or off.
constexpr std::uint16_t keypadEvdev(int key) {
    switch (key) {
        case Qt::Key_0:
        case Qt::Key_Insert:
            return 82;
        case Qt::Key_1:
        case Qt::Key_End:
            return 79;
        case Qt::Key_2:
        case Qt::Key_Down:
            return 80;
        case Qt::Key_3:
        case Qt::Key_PageDown:
            return 81;
        case Qt::Key_4:
        case Qt::Key_Left:
            return 75;
        case Qt::Key_5:
        case Qt::Key_Clear:
            return 76;
        case Qt::Key_6:
        case Qt::Key_Right:
            return 77;
        case Qt::Key_7:
        case Qt::Key_Home:
            return 71;
        case Qt::Key_8:
        case Qt::Key_Up:
            return 72;
        case Qt::Key_9:
        case Qt::Key_PageUp:
            return 73;
        case Qt::Key_Period:
        case Qt::Key_Comma:
        case Qt::Key_Delete:
            return 83;
        case Qt::Key_Plus:
            return 78;
        case Qt::Key_Minus:
            return 74;
        case Qt::Key_Asterisk:
            return 55;
        case Qt::Key_Slash:
            return 98;
        case Qt::Key_Equal:
            return 117;
        case Qt::Key_Enter:
        case Qt::Key_Return:
            return 96;
        default:
            return 0;
    }
}

}  // namespace

std::optional<std::uint16_t> fromXkbKeycode(std::uint32_t keycode) {
    // XKB keycodes are evdev codes shifted by 8; the first eight are never sent.
    if (keycode < 8 || keycode - 8 >= evdevTable.size()) return std::nullopt;
    const std::uint16_t apple = evdevTable[keycode - 8];
    if (apple == none) return std::nullopt;
    return apple;
}

std::optional<std::uint16_t> fromQtKey(int qtKey, bool keypad) {
    std::uint16_t evdev = keypad ? keypadEvdev(qtKey) : 0;
    if (!evdev) evdev = usLayoutEvdev(qtKey);
    if (!evdev) return std::nullopt;
    return fromXkbKeycode(evdev + 8u);
}

std::uint16_t appleKeyCode(std::uint32_t nativeScanCode, int qtKey, bool keypad) {
    if (const auto code = fromXkbKeycode(nativeScanCode)) return *code;
    if (const auto code = fromQtKey(qtKey, keypad)) return *code;
    return unknown;
}

}  // namespace vistrel::app::KeyCodes

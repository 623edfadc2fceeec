#include "ui/KeyCodes.h"

#include <gtest/gtest.h>

#include <QKeyEvent>

#include <set>
#include <string>

#include "camera/CameraRig.h"
#include "ui/ViewportInput.h"

using namespace vistrel::app;
using vistrel::viewport::CameraRig;

namespace {

std::uint16_t codeOf(Qt::Key key, std::uint32_t evdev, const char* text = "",
                     Qt::KeyboardModifiers modifiers = Qt::NoModifier) {
    QKeyEvent event(QEvent::KeyPress, key, modifiers, evdev ? evdev + 8 : 0, 0, 0, text);
    std::string characters;
    return ViewportInput::keyEvent(event, 0, characters).keyCode;
}

}  // namespace

// WASD on QWERTY and ZQSD on AZERTY fly alike, the AZERTY A (physical Q) is Apple's Q; without a
// scan code (offscreen, synthesized) the Qt key is read as on a US layout; with neither the key
// is unknown, which no rule of the view reacts to.
TEST(KeyCodesTest, thePhysicalPositionDecidesWhateverTheLayoutTypes) {
    struct Case {
        int key;
        std::uint32_t evdev;
        std::uint16_t apple;
    };
    const Case cases[] = {{Qt::Key_W, 17, 0x0D},        {Qt::Key_Z, 17, 0x0D},
                          {Qt::Key_A, 30, 0x00},        {Qt::Key_Q, 30, 0x00},
                          {Qt::Key_S, 31, 0x01},        {Qt::Key_D, 32, 0x02},
                          {Qt::Key_A, 16, 0x0C},        {Qt::Key_E, 18, 0x0E},
                          {Qt::Key_C, 46, 0x08},        {Qt::Key_W, 44, 0x06},
                          {Qt::Key_1, 2, 0x12},         {Qt::Key_Space, 57, 0x31},
                          {Qt::Key_Escape, 1, 0x35},    {Qt::Key_Up, 103, 0x7E},
                          {Qt::Key_Left, 105, 0x7B},    {Qt::Key_Shift, 42, 0x38},
                          {Qt::Key_Control, 29, 0x37},  {Qt::Key_Alt, 56, 0x3A},
                          {Qt::Key_Meta, 125, 0x3B},    {Qt::Key_Delete, 111, 0x75},
                          {Qt::Key_F12, 88, 0x6F},      {Qt::Key_Enter, 96, 0x4C},
                          {Qt::Key_Period, 83, 0x41},   {Qt::Key_W, 0, 0x0D},
                          {Qt::Key_Z, 0, 0x06},         {Qt::Key_Exclam, 0, 0x12},
                          {Qt::Key_Escape, 0, 0x35},    {Qt::Key_Down, 0, 0x7D},
                          {Qt::Key_Return, 0, 0x24},    {Qt::Key_Backspace, 0, 0x33},
                          {Qt::Key_PageUp, 0, 0x74},    {Qt::Key_F1, 0, 0x7A},
                          {Qt::Key_Tab, 0, 0x30},       {Qt::Key_LaunchMail, 0, 0xFFFF},
                          {Qt::Key_unknown, 0, 0xFFFF}, {Qt::Key_Home, 0, 0x73}};
    for (const Case& c : cases)
        EXPECT_EQ(codeOf(Qt::Key(c.key), c.evdev), c.apple)
            << "Qt " << c.key << ", evdev " << c.evdev;
    EXPECT_EQ(codeOf(Qt::Key_1, 0, "1", Qt::KeypadModifier), 0x53) << "the keypad is its own block";
    EXPECT_EQ(codeOf(Qt::Key_Up, 0, "", Qt::KeypadModifier), 0x5B);
    EXPECT_FALSE(CameraRig::isMoveKey(KeyCodes::unknown));
    for (std::uint32_t keycode : {0u, 7u, 84u + 8, 100000u})
        EXPECT_FALSE(KeyCodes::fromXkbKeycode(keycode)) << keycode;
}

TEST(KeyCodesTest, everyKeyTheViewUsesIsReachableAndMainBlockPositionsAreDistinct) {
    std::set<std::uint16_t> used{KeyCodes::escape}, fromKeycodes, fromQtKeys;
    for (std::uint32_t code = 0; code < 0x80; ++code)
        if (CameraRig::isMoveKey(std::uint16_t(code))) used.insert(std::uint16_t(code));
    ASSERT_EQ(used.size(), 12u);
    for (std::uint32_t keycode = 8; keycode < 264; ++keycode)
        if (auto code = KeyCodes::fromXkbKeycode(keycode)) fromKeycodes.insert(*code);
    for (int key : {Qt::Key_W, Qt::Key_A, Qt::Key_S, Qt::Key_D, Qt::Key_E, Qt::Key_C, Qt::Key_Space,
                    Qt::Key_Up, Qt::Key_Down, Qt::Key_Left, Qt::Key_Right, Qt::Key_Escape})
        if (auto code = KeyCodes::fromQtKey(key, false)) fromQtKeys.insert(*code);
    for (std::uint16_t code : used) {
        EXPECT_TRUE(fromKeycodes.contains(code)) << "no physical key gives " << code;
        EXPECT_TRUE(fromQtKeys.contains(code)) << "no Qt key gives " << code;
    }
    std::set<std::uint16_t> seen;
    for (std::uint32_t evdev = 1; evdev <= 83; ++evdev) {
        auto code = KeyCodes::fromXkbKeycode(evdev + 8);
        ASSERT_TRUE(code) << "evdev " << evdev;
        EXPECT_TRUE(seen.insert(*code).second) << "evdev " << evdev << " repeats " << *code;
    }
}

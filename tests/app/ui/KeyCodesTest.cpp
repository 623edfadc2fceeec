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

// XKB keycodes of some physical keys (evdev code + 8).
constexpr std::uint32_t xkbW = 17 + 8, xkbA = 30 + 8, xkbQ = 16 + 8, xkbS = 31 + 8, xkbD = 32 + 8,
                        xkbZ = 44 + 8, xkbEsc = 1 + 8, xkbUp = 103 + 8, xkbSpace = 57 + 8;

std::uint16_t codeOf(const QKeyEvent& event) {
    std::string characters;
    return ViewportInput::keyEvent(event, 0, characters).keyCode;
}

}  // namespace

TEST(KeyCodesTest, physicalWIsTheSameCodeOnQwertyAndAzerty) {
    // QWERTY types "w" on that key, AZERTY types "z": both are Apple's W position.
    QKeyEvent qwerty(QEvent::KeyPress, Qt::Key_W, Qt::NoModifier, xkbW, 'w', 0, "w");
    QKeyEvent azerty(QEvent::KeyPress, Qt::Key_Z, Qt::NoModifier, xkbW, 'z', 0, "z");
    EXPECT_EQ(codeOf(qwerty), 0x0D);
    EXPECT_EQ(codeOf(azerty), 0x0D);
    EXPECT_EQ(codeOf(azerty), KeyCodes::ansiW);

    std::string characters;
    EXPECT_EQ(ViewportInput::keyEvent(azerty, 0, characters).characters, "z");
}

TEST(KeyCodesTest, wasdOnQwertyAndZqsdOnAzertyGiveTheSameFourCodes) {
    struct Press {
        Qt::Key key;
        std::uint32_t keycode;
        const char* text;
    };
    const Press qwerty[] = {{Qt::Key_W, xkbW, "w"},
                            {Qt::Key_A, xkbA, "a"},
                            {Qt::Key_S, xkbS, "s"},
                            {Qt::Key_D, xkbD, "d"}};
    const Press azerty[] = {{Qt::Key_Z, xkbW, "z"},
                            {Qt::Key_Q, xkbA, "q"},
                            {Qt::Key_S, xkbS, "s"},
                            {Qt::Key_D, xkbD, "d"}};
    const std::uint16_t expected[] = {0x0D, 0x00, 0x01, 0x02};
    for (int i = 0; i < 4; ++i) {
        QKeyEvent a(QEvent::KeyPress, qwerty[i].key, Qt::NoModifier, qwerty[i].keycode, 0, 0,
                    qwerty[i].text);
        QKeyEvent b(QEvent::KeyPress, azerty[i].key, Qt::NoModifier, azerty[i].keycode, 0, 0,
                    azerty[i].text);
        EXPECT_EQ(codeOf(a), expected[i]) << qwerty[i].text;
        EXPECT_EQ(codeOf(b), expected[i]) << azerty[i].text;
    }
    // And the AZERTY A key (physical Q) is Apple's Q, not a flying key.
    QKeyEvent azertyA(QEvent::KeyPress, Qt::Key_A, Qt::NoModifier, xkbQ, 0, 0, "a");
    EXPECT_EQ(codeOf(azertyA), 0x0C);
}

TEST(KeyCodesTest, xkbKeycodesOfNamedKeys) {
    struct Case {
        std::uint32_t evdev;
        std::uint16_t apple;
    };
    const Case cases[] = {
        {30, 0x00},  {31, 0x01}, {32, 0x02},  {33, 0x03},  {35, 0x04},  {34, 0x05},  {44, 0x06},
        {45, 0x07},  {46, 0x08}, {47, 0x09},  {48, 0x0B},  {16, 0x0C},  {17, 0x0D},  {18, 0x0E},
        {19, 0x0F},  {21, 0x10}, {20, 0x11},  {2, 0x12},   {3, 0x13},   {4, 0x14},   {5, 0x15},
        {6, 0x17},   {7, 0x16},  {8, 0x1A},   {9, 0x1C},   {10, 0x19},  {11, 0x1D},  {28, 0x24},
        {15, 0x30},  {57, 0x31}, {14, 0x33},  {1, 0x35},   {105, 0x7B}, {106, 0x7C}, {108, 0x7D},
        {103, 0x7E}, {42, 0x38}, {54, 0x3C},  {29, 0x37},  {56, 0x3A},  {125, 0x3B}, {59, 0x7A},
        {60, 0x78},  {88, 0x6F}, {102, 0x73}, {107, 0x77}, {104, 0x74}, {109, 0x79}, {111, 0x75},
        {82, 0x52},  {79, 0x53}, {96, 0x4C},
    };
    for (const Case& c : cases)
        EXPECT_EQ(KeyCodes::fromXkbKeycode(c.evdev + 8), c.apple) << "evdev " << c.evdev;
}

TEST(KeyCodesTest, keycodesWithoutAnAppleKeyAreAbsentAndBecomeUnknown) {
    EXPECT_FALSE(KeyCodes::fromXkbKeycode(0));
    EXPECT_FALSE(KeyCodes::fromXkbKeycode(7));
    EXPECT_FALSE(KeyCodes::fromXkbKeycode(84 + 8));  // a hole in the evdev table
    EXPECT_FALSE(KeyCodes::fromXkbKeycode(100000));
    EXPECT_EQ(KeyCodes::appleKeyCode(0, Qt::Key_unknown, false), KeyCodes::unknown);
    // Never a flying key, and never A (code 0), which flies left.
    EXPECT_FALSE(CameraRig::isMoveKey(KeyCodes::unknown));
    QKeyEvent launch(QEvent::KeyPress, Qt::Key_LaunchMail, Qt::NoModifier, 0, 0, 0);
    EXPECT_EQ(codeOf(launch), KeyCodes::unknown);
}

TEST(KeyCodesTest, withoutAScanCodeTheQtKeyIsReadAsOnAUsLayout) {
    struct Case {
        int key;
        bool keypad;
        std::uint16_t apple;
    };
    const Case cases[] = {
        {Qt::Key_W, false, 0x0D},      {Qt::Key_A, false, 0x00},
        {Qt::Key_S, false, 0x01},      {Qt::Key_D, false, 0x02},
        {Qt::Key_E, false, 0x0E},      {Qt::Key_C, false, 0x08},
        {Qt::Key_Z, false, 0x06},      {Qt::Key_Space, false, 0x31},
        {Qt::Key_Escape, false, 0x35}, {Qt::Key_Return, false, 0x24},
        {Qt::Key_Tab, false, 0x30},    {Qt::Key_Backspace, false, 0x33},
        {Qt::Key_Left, false, 0x7B},   {Qt::Key_Right, false, 0x7C},
        {Qt::Key_Down, false, 0x7D},   {Qt::Key_Up, false, 0x7E},
        {Qt::Key_Exclam, false, 0x12}, {Qt::Key_1, false, 0x12},
        {Qt::Key_Shift, false, 0x38},  {Qt::Key_Control, false, 0x37},
        {Qt::Key_Alt, false, 0x3A},    {Qt::Key_Meta, false, 0x3B},
        {Qt::Key_F1, false, 0x7A},     {Qt::Key_F12, false, 0x6F},
        {Qt::Key_PageUp, false, 0x74}, {Qt::Key_Home, false, 0x73},
        {Qt::Key_1, true, 0x53},       {Qt::Key_Enter, true, 0x4C},
        {Qt::Key_Up, true, 0x5B},      {Qt::Key_Asterisk, true, 0x43},
    };
    for (const Case& c : cases) {
        EXPECT_EQ(KeyCodes::fromQtKey(c.key, c.keypad), c.apple) << "Qt key " << c.key;
        QKeyEvent event(QEvent::KeyPress, c.key, c.keypad ? Qt::KeypadModifier : Qt::NoModifier, 0,
                        0, 0);
        EXPECT_EQ(codeOf(event), c.apple) << "Qt key " << c.key;
    }
}

TEST(KeyCodesTest, everyKeyTheViewReactsToHasAPhysicalKeyAndAQtKey) {
    // The view's keys: the rig's flying keys, whatever its tables hold, and Esc.
    std::set<std::uint16_t> used{KeyCodes::escape};
    for (std::uint32_t code = 0; code < 0x80; ++code)
        if (CameraRig::isMoveKey(std::uint16_t(code))) used.insert(std::uint16_t(code));
    ASSERT_EQ(used.size(), 12u);

    std::set<std::uint16_t> fromKeycodes, fromQtKeys;
    for (std::uint32_t keycode = 8; keycode < 264; ++keycode)
        if (auto code = KeyCodes::fromXkbKeycode(keycode)) fromKeycodes.insert(*code);
    for (int key : {Qt::Key_W, Qt::Key_A, Qt::Key_S, Qt::Key_D, Qt::Key_E, Qt::Key_C, Qt::Key_Space,
                    Qt::Key_Up, Qt::Key_Down, Qt::Key_Left, Qt::Key_Right, Qt::Key_Escape})
        if (auto code = KeyCodes::fromQtKey(key, false)) fromQtKeys.insert(*code);
    for (std::uint16_t code : used) {
        EXPECT_TRUE(fromKeycodes.contains(code)) << "no physical key gives " << code;
        EXPECT_TRUE(fromQtKeys.contains(code)) << "no Qt key gives " << code;
    }
    EXPECT_EQ(KeyCodes::fromXkbKeycode(xkbEsc), KeyCodes::escape);
    EXPECT_EQ(KeyCodes::fromXkbKeycode(xkbUp), KeyCodes::upArrow);
    EXPECT_EQ(KeyCodes::fromXkbKeycode(xkbSpace), KeyCodes::space);
    EXPECT_EQ(KeyCodes::fromXkbKeycode(xkbZ), KeyCodes::ansiZ);
}

TEST(KeyCodesTest, positionsOfTheMainBlockAreDistinct) {
    // Two physical keys of the letter, digit and editing block never share a code.
    std::set<std::uint16_t> seen;
    for (std::uint32_t evdev = 1; evdev <= 83; ++evdev) {
        auto code = KeyCodes::fromXkbKeycode(evdev + 8);
        ASSERT_TRUE(code) << "evdev " << evdev;
        EXPECT_TRUE(seen.insert(*code).second) << "evdev " << evdev << " repeats " << *code;
    }
}

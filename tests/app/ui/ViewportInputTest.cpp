#include "ui/ViewportInput.h"

#include <gtest/gtest.h>

#include <QPointingDevice>
#include <QtEvents>

#include <string>
#include <tuple>
#include <utility>
#include <vector>

#include "camera/CameraRig.h"
#include "ui/KeyCodes.h"

using namespace vistrel;
using namespace vistrel::app;
using viewport::CameraRig;
using viewport::GesturePhase;

namespace {

constexpr double kHeight = 300;

QWheelEvent wheel(QPoint pixels, QPoint angle, Qt::ScrollPhase phase = Qt::NoScrollPhase,
                  Qt::KeyboardModifiers modifiers = Qt::NoModifier, bool inverted = false) {
    return QWheelEvent(QPointF(40, 100), QPointF(140, 200), pixels, angle, Qt::NoButton, modifiers,
                       phase, inverted);
}

std::uint16_t codeOf(Qt::Key key, std::uint32_t evdev, const char* text = "",
                     Qt::KeyboardModifiers modifiers = Qt::NoModifier) {
    QKeyEvent event(QEvent::KeyPress, key, modifiers, evdev ? evdev + 8 : 0, 0, 0, text);
    std::string characters;
    return ViewportInput::keyEvent(event, 0, characters).keyCode;
}

std::vector<std::pair<GesturePhase, GesturePhase>> phasesOf(
    std::initializer_list<Qt::ScrollPhase> sequence) {
    ViewportInput::WheelState state;
    std::vector<std::pair<GesturePhase, GesturePhase>> out;
    for (Qt::ScrollPhase phase : sequence) {
        const auto r = ViewportInput::wheelEvents(wheel({0, 4}, {0, 48}, phase), kHeight, 0, state);
        for (int i = 0; i < r.count; ++i)
            out.emplace_back(r.events[i].phase, r.events[i].momentumPhase);
    }
    return out;
}

}  // namespace

TEST(ViewportInputTest, mouseAndKeyRecordsCarryAppleModifiersABottomLeftOriginAndRawDeltas) {
    QMouseEvent press(QEvent::MouseButtonPress, QPointF(10, 30), QPointF(110, 130), Qt::LeftButton,
                      Qt::LeftButton, Qt::ShiftModifier | Qt::AltModifier);
    const auto record = ViewportInput::mouseEvent(press, 100, {3, -4}, 2, 12.5);
    EXPECT_EQ(record.point, (Float2{10, 70}));
    EXPECT_TRUE(record.delta == (Float2{3, -4}) && record.clickCount == 2 && record.time == 12.5);
    EXPECT_TRUE(record.modifiers.shift && record.modifiers.option && !record.modifiers.command);
    // Ctrl is command, Meta is control, Alt is option, each alone.
    const auto ctrl = ViewportInput::modifiers(Qt::ControlModifier | Qt::MetaModifier);
    EXPECT_TRUE(ctrl.command && ctrl.control && !ctrl.option && !ctrl.shift);

    std::string characters;
    QKeyEvent repeat(QEvent::KeyPress, Qt::Key_W, Qt::ShiftModifier, 25, 0, 0, "W", true);
    const auto key = ViewportInput::keyEvent(repeat, 7, characters);
    EXPECT_TRUE(key.characters == "W" && key.keyCode == 0x0D && key.isRepeat &&
                key.modifiers.shift && key.time == 7);
    // Platforms differ on whether the flags already hold a modifier key's own change.
    QKeyEvent shiftDown(QEvent::KeyPress, Qt::Key_Shift, Qt::NoModifier),
        shiftUp(QEvent::KeyRelease, Qt::Key_Shift, Qt::ShiftModifier),
        ctrlDown(QEvent::KeyPress, Qt::Key_Control, Qt::ShiftModifier);
    const auto both = ViewportInput::modifiersAfterKey(ctrlDown);
    EXPECT_TRUE(ViewportInput::modifiersAfterKey(shiftDown).shift &&
                !ViewportInput::modifiersAfterKey(shiftUp).shift && both.command && both.shift);

    ViewportInput::PointerState state;
    EXPECT_EQ(ViewportInput::pointerDelta(state, {100, 100}), (Float2{0, 0}));
    EXPECT_EQ(ViewportInput::pointerDelta(state, {105, 112}), (Float2{5, 12}));
    ViewportInput::pointerWarped(state, {50, 50});
    EXPECT_FALSE(ViewportInput::pointerDelta(state, {50, 50})) << "the warp's own move";
    EXPECT_EQ(ViewportInput::pointerDelta(state, {47, 50}), (Float2{-3, 0}));
    // A real move that outran the echo still counts from the warp target.
    ViewportInput::pointerWarped(state, {50, 50});
    EXPECT_EQ(ViewportInput::pointerDelta(state, {52, 49}), (Float2{2, -1}));
    EXPECT_EQ(ViewportInput::pointerDelta(state, {50, 50}), (Float2{-2, 1}));

    ViewportInput::EventClock clock;  // seconds, running on for events without a stamp
    EXPECT_DOUBLE_EQ(ViewportInput::eventSeconds(clock, 5000), 5.0);
    EXPECT_NEAR(ViewportInput::eventSeconds(clock, 0), 5.5, 0.5) << "runs on from the last stamp";
}

TEST(ViewportInputTest, wheelPinchAndRotateGiveDeltasAndGesturePhases) {
    ViewportInput::WheelState state;
    auto one = [&](const QWheelEvent& event) {
        const auto r = ViewportInput::wheelEvents(event, kHeight, 1, state);
        EXPECT_EQ(r.count, 1);
        return r.events[0];
    };
    // One notch away from the user: one line up, which the view zooms in by, inverted or not
    // (Qt already applied the system's natural scrolling).
    for (bool inverted : {false, true}) {
        const auto notch = one(wheel({}, {0, 120}, Qt::NoScrollPhase, Qt::NoModifier, inverted));
        EXPECT_TRUE(!notch.hasPreciseDeltas && notch.phase == GesturePhase::none &&
                    notch.scrollingDelta == (Float2{0, 1}) && notch.point == (Float2{40, 200}));
    }
    EXPECT_FLOAT_EQ(one(wheel({}, {0, -15})).scrollingDelta.y, -0.125f) << "an eighth of a notch";
    const auto precise = one(wheel({3, -7}, {24, -56}, Qt::ScrollBegin, Qt::AltModifier));
    EXPECT_TRUE(precise.hasPreciseDeltas && precise.modifiers.option &&
                precise.scrollingDelta == (Float2{3, -7}));
    // The empty end of a touchpad gesture is still a touchpad event, so the view ends its orbit.
    const auto end = one(wheel({}, {}, Qt::ScrollEnd));
    EXPECT_TRUE(end.hasPreciseDeltas && end.phase == GesturePhase::ended);

    using enum GesturePhase;
    using enum Qt::ScrollPhase;
    struct Case {
        std::initializer_list<Qt::ScrollPhase> sequence;
        std::vector<std::pair<GesturePhase, GesturePhase>> expected;
    } cases[] = {
        {{ScrollBegin, ScrollUpdate, ScrollEnd}, {{began, none}, {changed, none}, {ended, none}}},
        {{ScrollUpdate, ScrollUpdate}, {{began, none}, {changed, none}}},  // no begin
        {{NoScrollPhase}, {{none, none}}},
        // The lift ends the fingers' gesture before the momentum, unless the platform did.
        {{ScrollBegin, ScrollMomentum, ScrollMomentum, ScrollEnd},
         {{began, none}, {ended, none}, {none, changed}, {none, changed}, {none, ended}}},
        {{ScrollBegin, ScrollEnd, ScrollMomentum, ScrollEnd},
         {{began, none}, {ended, none}, {none, changed}, {none, ended}}},
    };
    for (const Case& c : cases) EXPECT_EQ(phasesOf(c.sequence), c.expected);

    state = ViewportInput::WheelState{};
    ViewportInput::wheelEvents(wheel({0, 4}, {}, Qt::ScrollBegin), kHeight, 0, state);
    const auto lift =
        ViewportInput::wheelEvents(wheel({0, 9}, {}, Qt::ScrollMomentum), kHeight, 0, state);
    ASSERT_EQ(lift.count, 2);
    EXPECT_TRUE(lift.events[0].scrollingDelta == (Float2{0, 0}) &&
                lift.events[1].scrollingDelta == (Float2{0, 9}))
        << "the lift moves nothing";

    ViewportInput::GestureState gesture;
    auto send = [&](Qt::NativeGestureType type, double value = 0) {
        const QNativeGestureEvent event(type, QPointingDevice::primaryPointingDevice(), 2,
                                        QPointF(50, 60), QPointF(50, 60), QPointF(150, 160), value,
                                        QPointF());
        return ViewportInput::gestureEvent(event, kHeight, 2, gesture);
    };
    auto zoom = [&](Qt::NativeGestureType type, double value = 0) {
        return std::get<viewport::MagnifyEvent>(send(type, value));
    };
    EXPECT_TRUE(std::holds_alternative<std::monostate>(send(Qt::BeginNativeGesture)));
    const auto first = zoom(Qt::ZoomNativeGesture, 0.1);
    EXPECT_TRUE(first.magnification == 0.1f && first.phase == GesturePhase::began &&
                first.point == (Float2{50, 240}));
    EXPECT_EQ(zoom(Qt::ZoomNativeGesture, -0.05).phase, GesturePhase::changed);
    const auto lifted = zoom(Qt::EndNativeGesture);
    EXPECT_TRUE(lifted.phase == GesturePhase::ended && lifted.magnification == 0);

    // Qt turns clockwise-positive, the view counter-clockwise; switching to zoom begins it.
    send(Qt::BeginNativeGesture);
    const auto turn = std::get<viewport::RotateEvent>(send(Qt::RotateNativeGesture, 15));
    EXPECT_TRUE(turn.rotation == -15 && turn.phase == GesturePhase::began) << turn.rotation;
    EXPECT_EQ(zoom(Qt::ZoomNativeGesture, 0.2).phase, GesturePhase::began);
    EXPECT_TRUE(std::holds_alternative<std::monostate>(send(Qt::SmartZoomNativeGesture)));
}

// WASD on QWERTY and ZQSD on AZERTY fly alike, the AZERTY A (physical Q) is Apple's Q; without a
// scan code (offscreen, synthesized) the Qt key is read as on a US layout; with neither the key
// is unknown, which no rule of the view reacts to.
TEST(ViewportInputTest, thePhysicalPositionDecidesWhateverTheLayoutTypes) {
    using enum Qt::Key;
    // clang-format off
    const std::tuple<int, std::uint32_t, std::uint16_t> cases[] = {
        {Key_W, 17, 0x0D},    {Key_Z, 17, 0x0D},     {Key_Q, 30, 0x00},        {Key_A, 16, 0x0C},
        {Key_W, 44, 0x06},    {Key_1, 2, 0x12},      {Key_Control, 29, 0x37},  {Key_Meta, 125, 0x3B},
        {Key_Up, 103, 0x7E},  {Key_W, 0, 0x0D},      {Key_Z, 0, 0x06},         {Key_Exclam, 0, 0x12},
        {Key_Down, 0, 0x7D},  {Key_Escape, 0, 0x35}, {Key_LaunchMail, 0, 0xFFFF},
    };
    // clang-format on
    for (auto [key, evdev, apple] : cases)
        EXPECT_EQ(codeOf(Qt::Key(key), evdev), apple) << "Qt " << key << ", evdev " << evdev;
    EXPECT_EQ(codeOf(Qt::Key_1, 0, "1", Qt::KeypadModifier), 0x53) << "the keypad is its own block";
    EXPECT_FALSE(CameraRig::isMoveKey(KeyCodes::unknown));
    for (std::uint32_t keycode : {0u, 7u, 84u + 8, 100000u})
        EXPECT_FALSE(KeyCodes::fromXkbKeycode(keycode)) << keycode;
}

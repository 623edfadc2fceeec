#include "ui/ViewportInput.h"

#include <gtest/gtest.h>

#include <QKeyEvent>
#include <QMouseEvent>
#include <QNativeGestureEvent>
#include <QPointingDevice>
#include <QWheelEvent>

#include <string>
#include <vector>

using namespace vistrel;
using namespace vistrel::app;
using viewport::GesturePhase;

namespace {

constexpr double kHeight = 300;

QWheelEvent wheel(QPoint pixels, QPoint angle, Qt::ScrollPhase phase = Qt::NoScrollPhase,
                  Qt::KeyboardModifiers modifiers = Qt::NoModifier, bool inverted = false) {
    return QWheelEvent(QPointF(40, 100), QPointF(140, 200), pixels, angle, Qt::NoButton, modifiers,
                       phase, inverted);
}

QNativeGestureEvent gesture(Qt::NativeGestureType type, double value = 0) {
    return QNativeGestureEvent(type, QPointingDevice::primaryPointingDevice(), 2, QPointF(50, 60),
                               QPointF(50, 60), QPointF(150, 160), value, QPointF());
}

struct Phases {
    GesturePhase phase, momentum;
    friend bool operator==(const Phases&, const Phases&) = default;
};

std::vector<Phases> phasesOf(std::initializer_list<Qt::ScrollPhase> sequence) {
    ViewportInput::WheelState state;
    std::vector<Phases> out;
    for (Qt::ScrollPhase phase : sequence) {
        const auto records =
            ViewportInput::wheelEvents(wheel({0, 4}, {0, 48}, phase), kHeight, 0, state);
        for (int i = 0; i < records.count; ++i)
            out.push_back(
                {records.events[size_t(i)].phase, records.events[size_t(i)].momentumPhase});
    }
    return out;
}

}  // namespace

TEST(ViewportInputTest, mouseRecordsFlipToABottomLeftOriginWithAppleModifiers) {
    QMouseEvent press(QEvent::MouseButtonPress, QPointF(10, 30), QPointF(110, 130), Qt::LeftButton,
                      Qt::LeftButton, Qt::ShiftModifier | Qt::AltModifier);
    const auto record = ViewportInput::mouseEvent(press, 100, {3, -4}, 2, 12.5);
    EXPECT_EQ(record.point, (Float2{10, 70}));
    EXPECT_EQ(record.delta, (Float2{3, -4}));
    EXPECT_EQ(record.clickCount, 2);
    EXPECT_EQ(record.time, 12.5);
    EXPECT_TRUE(record.modifiers.shift && record.modifiers.option && !record.modifiers.command);
    // Ctrl is command, Meta is control, Alt is option, each alone.
    const auto ctrl = ViewportInput::modifiers(Qt::ControlModifier);
    EXPECT_TRUE(ctrl.command && !ctrl.control && !ctrl.option && !ctrl.shift);
    const auto meta = ViewportInput::modifiers(Qt::MetaModifier);
    EXPECT_TRUE(meta.control && !meta.command && !meta.option && !meta.shift);
}

TEST(ViewportInputTest, rawDeltasCountScreenDownwardsAndSkipTheWarpEcho) {
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
    const double later = ViewportInput::eventSeconds(clock, 0);
    EXPECT_TRUE(later >= 5.0 && later < 6.0) << later;
}

TEST(ViewportInputTest, notchedWheelGivesLinesAndTrackpadGivesPreciseDeltas) {
    ViewportInput::WheelState state;
    // One notch away from the user: one line up, which the view zooms in by, inverted or not
    // (Qt already applied the system's natural scrolling).
    for (bool inverted : {false, true}) {
        auto notch = ViewportInput::wheelEvents(
            wheel({}, {0, 120}, Qt::NoScrollPhase, Qt::NoModifier, inverted), kHeight, 1, state);
        ASSERT_EQ(notch.count, 1);
        EXPECT_FALSE(notch.events[0].hasPreciseDeltas);
        EXPECT_EQ(notch.events[0].scrollingDelta, (Float2{0, 1}));
        EXPECT_EQ(notch.events[0].phase, GesturePhase::none);
        EXPECT_EQ(notch.events[0].point, (Float2{40, 200}));
    }
    auto fine = ViewportInput::wheelEvents(wheel({}, {0, -15}), kHeight, 1, state);
    EXPECT_FLOAT_EQ(fine.events[0].scrollingDelta.y, -0.125f) << "an eighth of a notch";

    auto precise = ViewportInput::wheelEvents(
        wheel({3, -7}, {24, -56}, Qt::ScrollBegin, Qt::AltModifier), kHeight, 1, state);
    EXPECT_TRUE(precise.events[0].hasPreciseDeltas);
    EXPECT_EQ(precise.events[0].scrollingDelta, (Float2{3, -7}));
    EXPECT_TRUE(precise.events[0].modifiers.option);
    // The empty end of a touchpad gesture is still a touchpad event, so the view ends its orbit.
    auto end = ViewportInput::wheelEvents(wheel({}, {}, Qt::ScrollEnd), kHeight, 1, state);
    EXPECT_TRUE(end.events[0].hasPreciseDeltas);
    EXPECT_EQ(end.events[0].phase, GesturePhase::ended);
}

TEST(ViewportInputTest, scrollPhasesBecomeGestureAndMomentumPhases) {
    const auto none = GesturePhase::none, began = GesturePhase::began,
               changed = GesturePhase::changed, ended = GesturePhase::ended;
    struct Case {
        std::initializer_list<Qt::ScrollPhase> sequence;
        std::vector<Phases> expected;
    };
    const Case cases[] = {
        {{Qt::ScrollBegin, Qt::ScrollUpdate, Qt::ScrollEnd},
         {{began, none}, {changed, none}, {ended, none}}},
        {{Qt::ScrollUpdate, Qt::ScrollUpdate}, {{began, none}, {changed, none}}},  // no begin
        {{Qt::NoScrollPhase}, {{none, none}}},
        // The lift ends the fingers' gesture before the momentum...
        {{Qt::ScrollBegin, Qt::ScrollMomentum, Qt::ScrollMomentum, Qt::ScrollEnd},
         {{began, none}, {ended, none}, {none, changed}, {none, changed}, {none, ended}}},
        // ...unless the platform ended it itself.
        {{Qt::ScrollBegin, Qt::ScrollEnd, Qt::ScrollMomentum, Qt::ScrollEnd},
         {{began, none}, {ended, none}, {none, changed}, {none, ended}}},
    };
    for (const Case& c : cases) EXPECT_EQ(phasesOf(c.sequence), c.expected);

    ViewportInput::WheelState state;
    ViewportInput::wheelEvents(wheel({0, 4}, {}, Qt::ScrollBegin), kHeight, 0, state);
    const auto lift =
        ViewportInput::wheelEvents(wheel({0, 9}, {}, Qt::ScrollMomentum), kHeight, 0, state);
    ASSERT_EQ(lift.count, 2);
    EXPECT_EQ(lift.events[0].scrollingDelta, (Float2{0, 0})) << "the lift moves nothing";
    EXPECT_EQ(lift.events[1].scrollingDelta, (Float2{0, 9}));
}

TEST(ViewportInputTest, pinchAndRotateCarryTheirPhases) {
    ViewportInput::GestureState state;
    auto send = [&](Qt::NativeGestureType type, double value = 0) {
        return ViewportInput::gestureEvent(gesture(type, value), kHeight, 2, state);
    };
    EXPECT_TRUE(std::holds_alternative<std::monostate>(send(Qt::BeginNativeGesture)));
    const auto first = std::get<viewport::MagnifyEvent>(send(Qt::ZoomNativeGesture, 0.1));
    EXPECT_FLOAT_EQ(first.magnification, 0.1f);
    EXPECT_EQ(first.phase, GesturePhase::began);
    EXPECT_EQ(first.point, (Float2{50, 240}));
    EXPECT_EQ(std::get<viewport::MagnifyEvent>(send(Qt::ZoomNativeGesture, -0.05)).phase,
              GesturePhase::changed);
    const auto end = std::get<viewport::MagnifyEvent>(send(Qt::EndNativeGesture));
    EXPECT_EQ(end.phase, GesturePhase::ended);
    EXPECT_EQ(end.magnification, 0);

    // Qt turns clockwise-positive, the view counter-clockwise; switching to zoom begins it.
    send(Qt::BeginNativeGesture);
    const auto turn = std::get<viewport::RotateEvent>(send(Qt::RotateNativeGesture, 15));
    EXPECT_FLOAT_EQ(turn.rotation, -15);
    EXPECT_EQ(turn.phase, GesturePhase::began);
    EXPECT_EQ(std::get<viewport::MagnifyEvent>(send(Qt::ZoomNativeGesture, 0.2)).phase,
              GesturePhase::began);
    EXPECT_TRUE(std::holds_alternative<std::monostate>(send(Qt::SmartZoomNativeGesture)));
}

TEST(ViewportInputTest, keysCarryTextRepeatAndModifiersAlsoOfTheirOwnKey) {
    std::string characters;
    QKeyEvent repeat(QEvent::KeyPress, Qt::Key_W, Qt::ShiftModifier, 25, 0, 0, "W", true);
    const auto record = ViewportInput::keyEvent(repeat, 7, characters);
    EXPECT_EQ(record.keyCode, 0x0D);
    EXPECT_EQ(record.characters, "W");
    EXPECT_TRUE(record.isRepeat && record.modifiers.shift);
    EXPECT_EQ(record.time, 7);

    // Platforms differ on whether the flags already hold a modifier key's own change.
    EXPECT_TRUE(ViewportInput::isModifierKey(Qt::Key_Control));
    EXPECT_FALSE(ViewportInput::isModifierKey(Qt::Key_W));
    QKeyEvent shiftDown(QEvent::KeyPress, Qt::Key_Shift, Qt::NoModifier);
    EXPECT_TRUE(ViewportInput::modifiersAfterKey(shiftDown).shift);
    QKeyEvent shiftUp(QEvent::KeyRelease, Qt::Key_Shift, Qt::ShiftModifier);
    EXPECT_FALSE(ViewportInput::modifiersAfterKey(shiftUp).shift);
    QKeyEvent ctrlDown(QEvent::KeyPress, Qt::Key_Control, Qt::ShiftModifier);
    const auto both = ViewportInput::modifiersAfterKey(ctrlDown);
    EXPECT_TRUE(both.command && both.shift);
}

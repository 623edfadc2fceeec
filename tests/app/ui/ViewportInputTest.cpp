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

TEST(ViewportInputTest, modifiersTakeTheirAppleNames) {
    const auto none = ViewportInput::modifiers(Qt::NoModifier);
    EXPECT_FALSE(none.shift || none.control || none.option || none.command);
    EXPECT_TRUE(ViewportInput::modifiers(Qt::AltModifier).option);
    EXPECT_TRUE(ViewportInput::modifiers(Qt::ControlModifier).command);
    EXPECT_TRUE(ViewportInput::modifiers(Qt::MetaModifier).control);
    EXPECT_TRUE(ViewportInput::modifiers(Qt::ShiftModifier).shift);
    const auto ctrl = ViewportInput::modifiers(Qt::ControlModifier);
    EXPECT_FALSE(ctrl.control || ctrl.option || ctrl.shift);
}

TEST(ViewportInputTest, pointsAreFlippedToABottomLeftOrigin) {
    EXPECT_EQ(ViewportInput::viewPoint(QPointF(10, 30), 100), (Float2{10, 70}));
    EXPECT_EQ(ViewportInput::viewPoint(QPointF(0, 0), 100), (Float2{0, 100}));
    EXPECT_EQ(ViewportInput::viewPoint(QPointF(2.5, 100), 100), (Float2{2.5f, 0}));

    QMouseEvent press(QEvent::MouseButtonPress, QPointF(10, 30), QPointF(110, 130), Qt::LeftButton,
                      Qt::LeftButton, Qt::ShiftModifier | Qt::AltModifier);
    const auto record = ViewportInput::mouseEvent(press, 100, {3, -4}, 2, 12.5);
    EXPECT_EQ(record.point, (Float2{10, 70}));
    EXPECT_EQ(record.delta, (Float2{3, -4}));
    EXPECT_EQ(record.clickCount, 2);
    EXPECT_EQ(record.time, 12.5);
    EXPECT_TRUE(record.modifiers.shift);
    EXPECT_TRUE(record.modifiers.option);
    EXPECT_FALSE(record.modifiers.command);
}

TEST(ViewportInputTest, rawDeltasCountScreenDownwardsAndSkipTheWarpEcho) {
    ViewportInput::PointerState state;
    EXPECT_EQ(ViewportInput::pointerDelta(state, {100, 100}), (Float2{0, 0}));
    // Down the screen is positive y, as the view's look expects of raw deltas.
    EXPECT_EQ(ViewportInput::pointerDelta(state, {105, 112}), (Float2{5, 12}));

    ViewportInput::pointerWarped(state, {50, 50});
    EXPECT_FALSE(ViewportInput::pointerDelta(state, {50, 50})) << "the warp's own move";
    EXPECT_EQ(ViewportInput::pointerDelta(state, {47, 50}), (Float2{-3, 0}));

    // A real move that outran the echo still counts from the warp target.
    ViewportInput::pointerWarped(state, {50, 50});
    EXPECT_EQ(ViewportInput::pointerDelta(state, {52, 49}), (Float2{2, -1}));
    EXPECT_EQ(ViewportInput::pointerDelta(state, {50, 50}), (Float2{-2, 1}));
}

TEST(ViewportInputTest, eventTimesAreSecondsAndRunOnForStamplessEvents) {
    ViewportInput::EventClock clock;
    EXPECT_DOUBLE_EQ(ViewportInput::eventSeconds(clock, 5000), 5.0);
    const double later = ViewportInput::eventSeconds(clock, 0);
    EXPECT_GE(later, 5.0);
    EXPECT_LT(later, 6.0);
    EXPECT_DOUBLE_EQ(ViewportInput::eventSeconds(clock, 5250), 5.25);
}

TEST(ViewportInputTest, notchedWheelGivesLinesAndTrackpadGivesPreciseDeltas) {
    ViewportInput::WheelState state;
    // One notch away from the user: one line up, which the view zooms in by.
    auto notch = ViewportInput::wheelEvents(wheel({}, {0, 120}), kHeight, 1, state);
    ASSERT_EQ(notch.count, 1);
    EXPECT_FALSE(notch.events[0].hasPreciseDeltas);
    EXPECT_EQ(notch.events[0].scrollingDelta, (Float2{0, 1}));
    EXPECT_EQ(notch.events[0].phase, GesturePhase::none);
    EXPECT_EQ(notch.events[0].point, (Float2{40, 200}));
    EXPECT_EQ(notch.events[0].time, 1);

    // A high-resolution wheel's eighth of a notch.
    auto fine = ViewportInput::wheelEvents(wheel({}, {0, -15}), kHeight, 1, state);
    EXPECT_FLOAT_EQ(fine.events[0].scrollingDelta.y, -0.125f);

    auto precise = ViewportInput::wheelEvents(
        wheel({3, -7}, {24, -56}, Qt::ScrollBegin, Qt::AltModifier), kHeight, 1, state);
    ASSERT_EQ(precise.count, 1);
    EXPECT_TRUE(precise.events[0].hasPreciseDeltas);
    EXPECT_EQ(precise.events[0].scrollingDelta, (Float2{3, -7}));
    EXPECT_TRUE(precise.events[0].modifiers.option);

    // The empty end of a touchpad gesture is still a touchpad event, so the view ends its orbit.
    auto end = ViewportInput::wheelEvents(wheel({}, {}, Qt::ScrollEnd), kHeight, 1, state);
    EXPECT_TRUE(end.events[0].hasPreciseDeltas);
    EXPECT_EQ(end.events[0].phase, GesturePhase::ended);
}

TEST(ViewportInputTest, invertedScrollingPassesTheDeliveredDirection) {
    // Qt already applies the system's natural-scrolling setting to the deltas; the view sees
    // them as macOS would hand them over, so both events zoom the same way.
    ViewportInput::WheelState state;
    auto plain = ViewportInput::wheelEvents(wheel({}, {0, 120}), kHeight, 0, state);
    auto inverted = ViewportInput::wheelEvents(
        wheel({}, {0, 120}, Qt::NoScrollPhase, Qt::NoModifier, true), kHeight, 0, state);
    EXPECT_EQ(plain.events[0].scrollingDelta, inverted.events[0].scrollingDelta);
}

TEST(ViewportInputTest, scrollPhasesBecomeGesturePhases) {
    using P = Phases;
    const auto none = GesturePhase::none;
    EXPECT_EQ(phasesOf({Qt::ScrollBegin, Qt::ScrollUpdate, Qt::ScrollUpdate, Qt::ScrollEnd}),
              (std::vector<P>{{GesturePhase::began, none},
                              {GesturePhase::changed, none},
                              {GesturePhase::changed, none},
                              {GesturePhase::ended, none}}));
    // An update without a begin starts the gesture.
    EXPECT_EQ(phasesOf({Qt::ScrollUpdate, Qt::ScrollUpdate}),
              (std::vector<P>{{GesturePhase::began, none}, {GesturePhase::changed, none}}));
    EXPECT_EQ(phasesOf({Qt::NoScrollPhase}), (std::vector<P>{{none, none}}));
}

TEST(ViewportInputTest, momentumIsMarkedAndTheLiftEndsTheFingersGesture) {
    using P = Phases;
    const auto none = GesturePhase::none;
    EXPECT_EQ(phasesOf({Qt::ScrollBegin, Qt::ScrollUpdate, Qt::ScrollMomentum, Qt::ScrollMomentum,
                        Qt::ScrollEnd}),
              (std::vector<P>{{GesturePhase::began, none},
                              {GesturePhase::changed, none},
                              {GesturePhase::ended, none},  // the lift, before the momentum
                              {none, GesturePhase::changed},
                              {none, GesturePhase::changed},
                              {none, GesturePhase::ended}}));
    // Where the platform ends the fingers' gesture itself, no extra end is made.
    EXPECT_EQ(phasesOf({Qt::ScrollBegin, Qt::ScrollEnd, Qt::ScrollMomentum, Qt::ScrollEnd}),
              (std::vector<P>{{GesturePhase::began, none},
                              {GesturePhase::ended, none},
                              {none, GesturePhase::changed},
                              {none, GesturePhase::ended}}));

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
    EXPECT_TRUE(std::holds_alternative<std::monostate>(
        ViewportInput::gestureEvent(gesture(Qt::BeginNativeGesture), kHeight, 0, state)));

    auto first =
        ViewportInput::gestureEvent(gesture(Qt::ZoomNativeGesture, 0.1), kHeight, 2, state);
    ASSERT_TRUE(std::holds_alternative<viewport::MagnifyEvent>(first));
    const auto& m = std::get<viewport::MagnifyEvent>(first);
    EXPECT_FLOAT_EQ(m.magnification, 0.1f);
    EXPECT_EQ(m.phase, GesturePhase::began);
    EXPECT_EQ(m.point, (Float2{50, 240}));
    EXPECT_EQ(m.time, 2);

    auto second =
        ViewportInput::gestureEvent(gesture(Qt::ZoomNativeGesture, -0.05), kHeight, 2, state);
    EXPECT_EQ(std::get<viewport::MagnifyEvent>(second).phase, GesturePhase::changed);
    EXPECT_FLOAT_EQ(std::get<viewport::MagnifyEvent>(second).magnification, -0.05f);

    auto end = ViewportInput::gestureEvent(gesture(Qt::EndNativeGesture), kHeight, 3, state);
    ASSERT_TRUE(std::holds_alternative<viewport::MagnifyEvent>(end));
    EXPECT_EQ(std::get<viewport::MagnifyEvent>(end).phase, GesturePhase::ended);
    EXPECT_EQ(std::get<viewport::MagnifyEvent>(end).magnification, 0);

    // Qt turns clockwise-positive; the view counter-clockwise.
    ViewportInput::gestureEvent(gesture(Qt::BeginNativeGesture), kHeight, 0, state);
    auto turn =
        ViewportInput::gestureEvent(gesture(Qt::RotateNativeGesture, 15), kHeight, 4, state);
    ASSERT_TRUE(std::holds_alternative<viewport::RotateEvent>(turn));
    EXPECT_FLOAT_EQ(std::get<viewport::RotateEvent>(turn).rotation, -15);
    EXPECT_EQ(std::get<viewport::RotateEvent>(turn).phase, GesturePhase::began);
    // Switching from rotate to zoom inside one gesture begins the zoom.
    auto zoom = ViewportInput::gestureEvent(gesture(Qt::ZoomNativeGesture, 0.2), kHeight, 4, state);
    EXPECT_EQ(std::get<viewport::MagnifyEvent>(zoom).phase, GesturePhase::began);

    EXPECT_TRUE(std::holds_alternative<std::monostate>(
        ViewportInput::gestureEvent(gesture(Qt::SmartZoomNativeGesture), kHeight, 0, state)));
}

TEST(ViewportInputTest, keysCarryTextRepeatAndModifiers) {
    std::string characters;
    QKeyEvent repeat(QEvent::KeyPress, Qt::Key_W, Qt::ShiftModifier, 25, 0, 0, "W", true);
    const auto record = ViewportInput::keyEvent(repeat, 7, characters);
    EXPECT_EQ(record.keyCode, 0x0D);
    EXPECT_EQ(record.characters, "W");
    EXPECT_TRUE(record.isRepeat);
    EXPECT_TRUE(record.modifiers.shift);
    EXPECT_EQ(record.time, 7);

    QKeyEvent first(QEvent::KeyPress, Qt::Key_W, Qt::NoModifier, 25, 0, 0, "w");
    EXPECT_FALSE(ViewportInput::keyEvent(first, 0, characters).isRepeat);
}

TEST(ViewportInputTest, aModifierKeysOwnEventSetsItsFlag) {
    EXPECT_TRUE(ViewportInput::isModifierKey(Qt::Key_Shift));
    EXPECT_TRUE(ViewportInput::isModifierKey(Qt::Key_Control));
    EXPECT_FALSE(ViewportInput::isModifierKey(Qt::Key_W));

    // Platforms differ on whether the flags already hold the key.
    QKeyEvent shiftDown(QEvent::KeyPress, Qt::Key_Shift, Qt::NoModifier);
    EXPECT_TRUE(ViewportInput::modifiersAfterKey(shiftDown).shift);
    QKeyEvent shiftUp(QEvent::KeyRelease, Qt::Key_Shift, Qt::ShiftModifier);
    EXPECT_FALSE(ViewportInput::modifiersAfterKey(shiftUp).shift);
    QKeyEvent ctrlDown(QEvent::KeyPress, Qt::Key_Control, Qt::ShiftModifier);
    const auto both = ViewportInput::modifiersAfterKey(ctrlDown);
    EXPECT_TRUE(both.command);
    EXPECT_TRUE(both.shift);
}

#include "camera/CameraRig.h"

#include <gtest/gtest.h>

#include <cmath>
#include <numbers>
#include <tuple>
#include <vector>

#include "ManualClock.h"
#include "ManualTimer.h"
#include "ViewportTestModels.h"
#include "vocabulary/StandardView.h"

using namespace vistrel;
using namespace vistrel::viewport;
using Pose = CameraRig::Pose;
using test::expectNear;

namespace {

constexpr float pi = std::numbers::pi_v<float>;
constexpr float degree = pi / 180;
constexpr std::uint16_t keyW = 13, keyS = 1, keyA = 0, keyD = 2, keySpace = 49, keyC = 8;

class CameraRigTest : public testing::Test {
  protected:
    CameraRigTest() {
        node.camera = CameraSettings{};
        rig.onChange = [this] { ++changes; };
    }
    // One timer firing after `dt` seconds of wall time.
    void tickAfter(double dt) {
        clock.advance(dt);
        timer.fire();
    }
    // Ticks at `dt` until the timer stops; the number of ticks it took, or -1 past `limit`.
    int ticksUntilRest(double dt, int limit = 10000) {
        for (int n = 1; n <= limit; ++n) {
            tickAfter(dt);
            if (!timer.isRunning()) return n;
        }
        return -1;
    }

    CameraNode node;
    test::ManualTimer timer;
    test::ManualClock clock;
    CameraRig rig{node, timer, clock};
    int changes = 0;
};

}  // namespace

TEST_F(CameraRigTest, glideEasesAndEndsOnTheStepThatReachesItsDuration) {
    rig.set(Pose{{0, 0, 0}, 0, 0, 1});
    const Pose to{{8, -4, 2}, 0.5f, 0.4f, 9};
    rig.beginGlide(to, 2, 6, 0.4f);
    ASSERT_TRUE(timer.isRunning());
    tickAfter(0.1);
    EXPECT_LT(rig.pose().position.x, 8 * 0.25f) << "starts slower than linear";
    tickAfter(0.1);  // halfway in time is halfway in space and scale
    expectNear(rig.pose().position, {4, -2, 1});
    EXPECT_NEAR(rig.pose().pitch, 0.2f, 1e-6f);
    EXPECT_NEAR(node.camera->orthographicScale, 4, 1e-6);
    tickAfter(0.1);
    EXPECT_TRUE(rig.glide().has_value());
    EXPECT_TRUE(timer.isRunning());
    tickAfter(0.1);
    EXPECT_FALSE(rig.glide().has_value());
    EXPECT_FALSE(timer.isRunning());
    EXPECT_EQ(rig.pose(), to);  // exactly the end, not nearly
    EXPECT_EQ(node.camera->orthographicScale, 6);
    EXPECT_EQ(changes, 5);  // the set and four steps
}

TEST_F(CameraRigTest, glideYawTakesTheShortWayRound) {
    const float cases[][3] = {
        {350 * degree, 10 * degree, 370 * degree},  // forwards through 0
        {10 * degree, 350 * degree, -10 * degree},  // backwards through 0
        {-170 * degree, 170 * degree, -190 * degree},
        {0, 4 * pi + 0.5f, 0.5f},  // whole turns are dropped
        {0.3f, INFINITY, 0.3f},    // a yaw that isn't finite doesn't move
    };
    for (const auto& [from, to, end] : cases) {
        SCOPED_TRACE(testing::Message() << from << " -> " << to);
        rig.set(Pose{{}, from, 0, 1});
        rig.beginGlide(Pose{{}, to, 0, 1}, 1, 1, 1);
        const float lo = std::min(from, end) - 1e-4f, hi = std::max(from, end) + 1e-4f;
        while (rig.glide()) {
            rig.step(0.05f);
            EXPECT_GE(rig.pose().yaw, lo);
            EXPECT_LE(rig.pose().yaw, hi);
        }
        EXPECT_NEAR(rig.pose().yaw, end, 1e-4f);
    }
}

TEST_F(CameraRigTest, newGlideStartsFromWhereTheRunningOneHadComeAndZeroDurationJumps) {
    rig.beginGlide(Pose{{10, 0, 0}, 0, 0, 1}, 1, 1, 1);
    rig.step(0.5f);
    const Float3 reached = rig.pose().position;
    rig.beginGlide(Pose{{0, 10, 0}, 0, 0, 1}, 1, 1, 1);
    EXPECT_EQ(timer.starts(), 1);  // still the one timer
    EXPECT_EQ(rig.glide()->from.position, reached);
    rig.step(1);
    expectNear(rig.pose().position, {0, 10, 0});
    rig.beginGlide(Pose{{5, 5, 5}, 1, 0, 2}, 1, 1, 0);
    rig.step(0);  // even a step of no time
    EXPECT_EQ(rig.pose(), (Pose{{5, 5, 5}, 1, 0, 2}));
    EXPECT_FALSE(rig.glide().has_value());
}

TEST_F(CameraRigTest, orbitPitchStopsAt89DegreesWithoutPullingPosesBeyondIt) {
    const float cases[][3] = {
        {0, 2, 1.55334f},           {0, -2, -1.55334f},        {1.5707f, 0.01f, 1.5707f},
        {1.5707f, -0.01f, 1.5607f}, {-pi / 2, -0.1f, -pi / 2}, {-pi / 2, 0.1f, -pi / 2 + 0.1f},
        {0.3f, 0.2f, 0.5f},
    };
    for (const auto& [pitch, dPitch, expected] : cases) {
        SCOPED_TRACE(testing::Message() << pitch << " + " << dPitch);
        rig.set(Pose{{}, 0, pitch, 1});
        rig.orbit(0, dPitch);
        EXPECT_FLOAT_EQ(rig.pose().pitch, expected);
        rig.set(Pose{{}, 0, pitch, 1});
        rig.look(0, dPitch);
        EXPECT_FLOAT_EQ(rig.pose().pitch, expected);
    }
}

TEST_F(CameraRigTest, orbitTurnsAroundTargetOrPivotKeepingDistance) {
    const Pose start{{-10, 0, 5}, 0, -0.4f, 6};
    rig.set(start);
    rig.orbit(1.0f, 0.3f);
    expectNear(rig.pose().target(), start.target(), 1e-4f);
    EXPECT_EQ(rig.pose().distance, 6);
    rig.set(start);
    rig.pivot = Float3{0, 0, 0};
    const float radius = length(start.position);
    rig.orbit(-2.0f, 0.2f);
    EXPECT_NEAR(length(rig.pose().position), radius, 1e-4f);
    // The pivot stays where it was on screen: same coordinates in the camera frame.
    expectNear(start.basis().transposeTimes(-start.position),
               rig.pose().basis().transposeTimes(-rig.pose().position), 1e-4f);
    EXPECT_EQ(rig.pose().distance, 6);
}

TEST_F(CameraRigTest, orbitSpeedUsesTheEventIntervalWithinBounds) {
    const float d = 0.01f;
    const std::tuple<std::optional<double>, double, float> cases[] = {
        {std::nullopt, 1.0, d * 60},  // no earlier event
        {1.0, 1.05, d / 0.05f},       // measured
        {1.0, 1.001, d * 120},        // a burst cannot exceed 1/120 s
        {1.0, 1.0, d * 60},           // same stamp
        {1.0, 0.9, d * 60},           // older stamp
    };
    for (const auto& [first, second, spinX] : cases) {
        SCOPED_TRACE(spinX);
        rig.set(Pose{});
        if (first) rig.orbit(0.5f, 0, first);
        rig.orbit(d, 0, second);
        EXPECT_NEAR(rig.spin().x, spinX, spinX * 1e-3f);
    }
    // An orbit without a time stamp leaves the speed alone.
    rig.orbit(0.4f, 0.1f);
    EXPECT_NEAR(rig.spin().x, d * 60, 1e-3f);
}

TEST_F(CameraRigTest, inertiaDecaysAlikeAtAnyFrameRateAndStopsTheTimerAtRest) {
    for (double rate : {60.0, 120.0, 30.0}) {
        SCOPED_TRACE(rate);
        rig.set(Pose{});
        rig.orbit(0.02f, 0.01f, 1.0);
        rig.startTicking();
        for (int n = 0; n < int(rate / 10); ++n) tickAfter(1 / rate);  // 0.1 s
        EXPECT_NEAR(rig.spin().x, 1.2f * std::exp(-1.0f), 1e-3f);
        EXPECT_NEAR(rig.spin().y, 0.6f * std::exp(-1.0f), 1e-3f);
        EXPECT_GT(ticksUntilRest(1 / rate), 0);
        EXPECT_EQ(rig.spin(), (Float2{0, 0}));
        const Pose rest = rig.pose();
        timer.fire();
        EXPECT_EQ(rig.pose(), rest);
    }
}

TEST_F(CameraRigTest, keyFlightDirectionAndSpeed) {
    const float s = 1.5f, diag = 1.5f / std::sqrt(2.0f);
    // Start pose looks along +Y, 30 degrees down; right is +X.
    const Pose start{{0, 0, 0}, pi / 2, -pi / 6, 1};
    const Float3 f = start.forward();
    // Keys, 2D, fast, and the displacement over 0.5 s at 2 m/s x speedScale 1.5.
    const std::vector<std::tuple<std::vector<std::uint16_t>, bool, bool, Float3>> cases = {
        {{keyW}, false, false, f * s},
        {{126}, false, false, f * s},  // arrow up
        {{keyS}, false, false, -f * s},
        {{keyW, keyS}, false, false, {}},
        {{keyD}, false, false, {s, 0, 0}},
        {{keyA}, false, false, {-s, 0, 0}},
        {{keySpace}, false, false, {0, 0, s}},  // straight up whatever the view
        {{14}, false, false, {0, 0, s}},        // E
        {{keyC}, false, false, {0, 0, -s}},
        {{keySpace, keyC}, false, false, {}},
        {{keyW}, false, true, f * (4 * s)},
        {{keyD, keyC}, false, false, {diag, 0, -diag}},
        {{keySpace}, true, false, {}},  // no vertical in 2D
        {{keyW}, true, false, start.up() * s},
        {{53}, false, false, {}},  // Esc is no move key: nothing moves, nobody is told
    };
    rig.baseSpeed = 2;
    rig.speedScale = 1.5f;
    rig.pivot = Float3{7, 7, 7};
    for (const auto& [keys, is2D, fast, expected] : cases) {
        SCOPED_TRACE(testing::Message() << testing::PrintToString(keys) << is2D << fast);
        rig.set(start);
        rig.keys.clear();
        for (auto k : keys) rig.keys.insert(k);
        rig.is2DMode = is2D;
        rig.fast = fast;
        changes = 0;
        rig.step(0.5f);
        expectNear(rig.pose().position, expected);
        EXPECT_EQ(changes, length(expected) > 0 ? 1 : 0);
        EXPECT_EQ(rig.pose().yaw, start.yaw);
        EXPECT_EQ(*rig.pivot, (Float3{7, 7, 7}));
    }
}

TEST_F(CameraRigTest, keysRunTheTimerUntilReleasedAndAStallStepsATenthOfASecond) {
    rig.keys.insert(keyW);
    rig.startTicking();
    ASSERT_TRUE(timer.isRunning());
    tickAfter(0.02);
    EXPECT_NEAR(rig.pose().position.x, 0.02f, 1e-6f);
    tickAfter(30);  // the machine slept
    EXPECT_NEAR(rig.pose().position.x, 0.12f, 1e-6f);
    EXPECT_TRUE(timer.isRunning());
    rig.keys.erase(keyW);
    tickAfter(0.02);
    EXPECT_FALSE(timer.isRunning());
    EXPECT_NEAR(rig.pose().position.x, 0.12f, 1e-6f);
}

TEST_F(CameraRigTest, orbitIn2DModeNeverTiltsButLookTurnsInPlace) {
    rig.is2DMode = true;
    rig.pivot = Float3{5, 5, 5};
    rig.set(Pose{{1, 2, 3}, 0, -1.0f, 4});
    rig.orbit(0, 0.5f, 1.0);
    rig.orbit(0.2f, 0.5f, 1.05);
    EXPECT_EQ(rig.pose().pitch, -pi / 2);
    EXPECT_EQ(rig.spin().y, 0);
    const Float3 before = rig.pose().position;
    const Float2 spin = rig.spin();
    rig.look(0.5f, 0.3f);
    EXPECT_FLOAT_EQ(rig.pose().yaw, 0.7f);
    EXPECT_FLOAT_EQ(rig.pose().pitch, -pi / 2 + 0.3f);  // look ignores 2D mode
    EXPECT_EQ(rig.pose().position, before);
    EXPECT_EQ(*rig.pivot, (Float3{5, 5, 5}));
    EXPECT_EQ(rig.spin(), spin);
    rig.startTicking();
    ticksUntilRest(1.0 / 60);
    EXPECT_EQ(rig.pose().pitch, -pi / 2) << "the spin left over never tilts";
}

TEST_F(CameraRigTest, setStopsGlideAndInertiaAndTheTimerStopsOnItsNextTick) {
    rig.orbit(0.1f, 0, 1.0);
    rig.beginGlide(Pose{{9, 9, 9}, 1, 0, 1}, 1, 5, 2);
    EXPECT_EQ(rig.spin(), (Float2{0, 0}));  // a glide takes over from inertia
    rig.orbit(0.1f, 0, 1.1);
    rig.set(Pose{{1, 1, 1}, 0, 0, 1}, 0.25);
    EXPECT_FALSE(rig.glide().has_value());
    EXPECT_EQ(rig.spin(), (Float2{0, 0}));
    EXPECT_EQ(node.camera->orthographicScale, 0.25);
    EXPECT_TRUE(timer.isRunning());
    tickAfter(1.0 / 60);
    EXPECT_FALSE(timer.isRunning());
    EXPECT_EQ(rig.pose(), (Pose{{1, 1, 1}, 0, 0, 1}));
    // The previous orbit time is forgotten: the next measured orbit uses 1/60 s.
    rig.orbit(0.01f, 0, 1.2);
    EXPECT_NEAR(rig.spin().x, 0.6f, 1e-5f);
}

TEST_F(CameraRigTest, standardViewsLookTheirWayWithTheirUpHintUpOnScreen) {
    for (StandardView view : allStandardViews) {
        SCOPED_TRACE(label(view));
        const auto o = CameraRig::orientation(forward(view), upHint(view));
        const Pose pose{{}, o.yaw, o.pitch, 1};
        expectNear(pose.forward(), forward(view));
        EXPECT_GT(dot(pose.up(), upHint(view)), 0.5f);
    }
    // Unnormalised directions, along the up hint, or none at all.
    EXPECT_NEAR(CameraRig::orientation({-1, 1, -1}, {0, 0, 1}).yaw, 3 * pi / 4, 1e-5f);
    EXPECT_EQ(CameraRig::orientation({0, 0, -5}, {0, 0, 1}).yaw, 0);
    const auto none = CameraRig::orientation({0, 0, 0}, {0, 0, 1});
    EXPECT_EQ(none.yaw, 0);
    EXPECT_EQ(none.pitch, 0);
}

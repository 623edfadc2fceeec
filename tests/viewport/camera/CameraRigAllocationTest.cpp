// Its own test binary: it replaces the global allocation functions to count heap use.
#include <gtest/gtest.h>

#include "AllocationCounter.h"

#include <atomic>
#include <cstdlib>
#include <new>

#include "ManualClock.h"
#include "ManualTimer.h"
#include "camera/CameraRig.h"

using vistrel::test::allocations;
using vistrel::test::counting;

using namespace vistrel;
using namespace vistrel::viewport;

TEST(CameraRigAllocationTest, ticksOfGlidesInertiaAndKeyFlightAllocateNothing) {
    CameraNode node;
    node.camera = CameraSettings{};
    test::ManualTimer timer;
    test::ManualClock clock;
    CameraRig rig{node, timer, clock, [] { return 120.0; }};
    long changes = 0;
    rig.onChange = [&changes] { ++changes; };
    rig.set(CameraRig::Pose{{-10, 0, 4}, 0, -0.3f, 10});

    // Proves the counter counts before trusting a zero from it.
    counting = true;
    vistrel::test::allocateOnce();
    counting = false;
    ASSERT_EQ(allocations.exchange(0), 1);

    long ticks = 0, timerStarts = 0;
    counting = true;
    for (int round = 0; round < 200; ++round) {
        const float r = float(round);
        rig.beginGlide(CameraRig::Pose{{r, -r, 3}, 6.0f - r * 0.1f, -0.5f, 8}, 1, 2,
                       CameraRig::defaultGlideDuration);
        rig.orbit(0.02f, 0.01f, round * 1.0);
        rig.orbit(0.03f, -0.02f, round * 1.0 + 0.01);  // inertia during the glide
        rig.keys.insert(round % 2 ? 13 : 2);
        rig.fast = round % 3 == 0;
        rig.is2DMode = round % 5 == 0;
        rig.startTicking();
        for (int n = 0; n < 30; ++n) {
            clock.advance(1.0 / 120);
            timer.fire();
            ++ticks;
        }
        rig.look(0.01f, -0.01f);
        rig.keys.clear();
        while (timer.isRunning()) {  // let inertia die out
            clock.advance(1.0 / 120);
            timer.fire();
            ++ticks;
        }
        ++timerStarts;
    }
    counting = false;

    EXPECT_EQ(allocations.load(), 0);
    EXPECT_GT(ticks, 200 * 30);
    EXPECT_GT(changes, ticks);  // every tick moved the camera
    EXPECT_EQ(timer.starts(), timerStarts);
}

// Its own test binary: it replaces the global allocation functions to count heap use.
#include <gtest/gtest.h>

#include "AllocationCounter.h"

#include "ManualClock.h"
#include "ManualTimer.h"
#include "ViewportTestModels.h"
#include "view/ViewportView.h"

using vistrel::test::allocations;
using vistrel::test::counting;

using namespace vistrel;
using namespace vistrel::viewport;

namespace {

MouseEvent at(float x, float y, double time, Modifiers modifiers = {}) {
    return {.point = {x, y}, .delta = {1, -1}, .time = time, .modifiers = modifiers};
}

}  // namespace

TEST(ViewportViewAllocationTest, dragsWheelHoverKeysAndTicksAllocateNothing) {
    test::ManualTimer timer;
    test::ManualClock clock;
    ViewportView view{timer, clock};
    view.setSize({800, 600});
    long redraws = 0, poses = 0, hovers = 0;
    view.onRedraw = [&redraws] { ++redraws; };
    view.onPoseChange = [&poses](Float3, float, float, float) { ++poses; };
    view.onHoverLayer = [&hovers](std::optional<int>) { ++hovers; };
    view.present(std::make_shared<ViewportScene>(test::floorModel()));
    // The first pick builds the face hierarchies; that is a one-off, not a per-event cost.
    view.mouseMoved(at(400, 300, 0));
    ASSERT_TRUE(vistrel::test::countsAllocations());

    KeyEvent w{.keyCode = 13, .characters = "w", .modifiers = {}};
    WheelEvent wheel{.point = {420, 280}, .scrollingDelta = {0, 1}, .modifiers = {}};
    counting = true;
    double t = 1;
    for (int round = 0; round < 50; ++round) {
        const Modifiers modifiers{.shift = round % 2 == 1};
        view.mouseDown(at(400, 300, t, modifiers));
        for (int i = 0; i < 5; ++i) view.mouseDragged(at(400.0f + i, 300.0f + i, t += 0.016));
        view.mouseUp(at(405, 305, t += 0.01, modifiers));
        view.mouseMoved(at(380.0f + round, 290, t));
        wheel.time = t += 0.01;
        view.scrollWheel(wheel);
        view.rightMouseDown(at(400, 300, t));
        view.rightMouseDragged(at(401, 300, t += 0.016));
        view.keyDown(w);
        w.isRepeat = true;
        view.keyDown(w);
        w.isRepeat = false;
        clock.advance(1.0 / 60);
        timer.fire();
        view.keyUp(w);
        view.rightMouseUp(at(401, 300, t));
        clock.advance(1.0 / 60);
        timer.fire();
    }
    counting = false;
    EXPECT_EQ(allocations.load(), 0);
    EXPECT_GT(redraws, 0);
    EXPECT_GT(poses, 0);
}

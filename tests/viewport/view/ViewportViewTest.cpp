#include "view/ViewportView.h"

#include <gtest/gtest.h>

#include <cmath>
#include <numbers>
#include <tuple>
#include <vector>

#include "ManualClock.h"
#include "ManualTimer.h"
#include "ViewportTestModels.h"

using namespace vistrel;
using namespace vistrel::viewport;
using Pose = CameraRig::Pose;
using test::floorModel;

namespace {

constexpr float pi = std::numbers::pi_v<float>;
constexpr float orbitPerPoint = 0.0069813165f;
constexpr std::uint16_t keyW = 13, keyEscape = 53;
constexpr Float2 viewSize{800, 600};

void expectNear(Float3 a, Float3 b, float tolerance = 1e-3f) {
    test::expectNear(a, b, tolerance);
}

// A flat drawing as a DXF gives it: lines only, on one plane.
SKPModel planModel() {
    Definition root{"", {}, {{0, {{0, 0, 0}, {30, 0, 0}, {30, 0, 0}, {30, 20, 0}}}}, {}};
    return test::makeModel(root, {}, {}, {}, {0, 0, 0}, {30, 20, 0}, "plan.dxf",
                           {0, 0, 2, 0, 0, 0});
}

WheelEvent wheel(Float2 point, Float2 delta, double time = 0) {
    return {.point = point, .scrollingDelta = delta, .time = time, .modifiers = {}};
}

KeyEvent key(std::uint16_t code, std::string_view characters, Modifiers modifiers = {}) {
    return {.keyCode = code, .characters = characters, .modifiers = modifiers};
}

class ViewportViewTest : public testing::Test {
  protected:
    ViewportViewTest() {
        view.setSize(viewSize);
        view.onSelectLayer = [this](int layer) { selected.push_back(layer); };
    }

    void present(SKPModel model) {
        view.present(std::make_shared<ViewportScene>(std::move(model)));
    }

    static MouseEvent at(Float2 p, double t, Modifiers m = {}, int clicks = 1) {
        return {.point = p, .delta = {}, .clickCount = clicks, .time = t, .modifiers = m};
    }

    // Presses at `from`, drags by `step` points `count` times 16 ms apart, and releases
    // `releaseDelay` after the last move.
    void leftDrag(Float2 from, Float2 step, int count, double releaseDelay, Modifiers m = {}) {
        double t = 10;
        view.mouseDown(at(from, t, m));
        for (int i = 1; i <= count; ++i)
            view.mouseDragged(at({from.x + step.x * i, from.y + step.y * i}, t += 0.016, m));
        view.mouseUp(at({from.x + step.x * count, from.y + step.y * count}, t + releaseDelay, m));
    }

    void tick(double dt = 1.0 / 60) {
        clock.advance(dt);
        timer.fire();
    }

    test::ManualTimer timer;
    test::ManualClock clock;
    ViewportView view{timer, clock};
    std::vector<int> selected;
};

TEST_F(ViewportViewTest, leftDragOrbitsAroundThePointUnderTheCursor) {
    present(floorModel());
    const Float2 grab{500, 200};
    const std::optional<Float3> under = view.hit(grab);
    ASSERT_TRUE(under);
    const float radius = length(view.rig().pose().position - *under);
    const float yaw = view.rig().pose().yaw;

    leftDrag(grab, {10, 4}, 5, 0.2);
    ASSERT_TRUE(view.rig().pivot);
    expectNear(*view.rig().pivot, *under);
    EXPECT_NEAR(length(view.rig().pose().position - *under), radius, radius * 1e-4f);
    EXPECT_NEAR(view.rig().pose().yaw, yaw - 50 * orbitPerPoint, 1e-4f);
    // The target sits at the depth of the grabbed point.
    const Pose& p = view.rig().pose();
    EXPECT_NEAR(p.distance, dot(p.forward(), *under - p.position), 1e-3f);
}

TEST_F(ViewportViewTest, quickReleaseKeepsSpinningAndHesitantReleaseStopsDead) {
    // Hesitant: the release comes more than 0.05 s after the last move.
    for (auto [releaseDelay, spins] : {std::pair{0.01, true}, {0.06, false}}) {
        SCOPED_TRACE(releaseDelay);
        present(floorModel());
        leftDrag({400, 300}, {8, 0}, 4, releaseDelay);
        const float releasedYaw = view.rig().pose().yaw;
        EXPECT_EQ(view.rig().spin() != Float2{}, spins);
        for (int i = 0; i < 5; ++i) tick();
        EXPECT_EQ(view.rig().pose().yaw < releasedYaw - 1e-3f, spins);
        EXPECT_EQ(view.rig().pose().yaw == releasedYaw, !spins);
    }
}

TEST_F(ViewportViewTest, clickThatMovedThreePointsSelectsAndFourOrAShiftClickDoesNot) {
    const std::tuple<float, int, Modifiers, std::vector<int>> cases[] = {
        {3, 1, {}, {1}}, {4, 1, {}, {}}, {0, 0, {.shift = true}, {}}};
    for (const auto& [step, moves, modifiers, selects] : cases) {
        present(floorModel());
        selected.clear();
        leftDrag({480, 280}, {step, 0}, moves, 0.1, modifiers);
        EXPECT_EQ(selected, selects) << step;
    }
    EXPECT_EQ(view.hoveredLayer(), 1);
}

TEST_F(ViewportViewTest, doubleClickRecentresTwoThirdsOfTheWayAndOnEmptySpaceDoesNothing) {
    present(floorModel());
    const Float2 point{450, 250};
    const Float3 under = *view.hit(point);
    const Pose before = view.rig().pose();
    view.mouseDown(at(point, 10, {}, 2));
    EXPECT_FALSE(view.drag());
    view.mouseUp(at(point, 10.1, {}, 2));
    for (int i = 0; i < 30; ++i) tick();
    const Pose& after = view.rig().pose();
    const float depth = dot(before.forward(), under - before.position);
    EXPECT_NEAR(after.distance, depth / 3, 1e-3f);
    expectNear(after.target(), under);
    EXPECT_TRUE(selected.empty());

    // Looking at the sky: nothing under the pointer, nothing moves.
    view.setCameraPose(Float3{0, 0, 5}, 0.0f, 30.0f, 10.0f);
    const Pose sky = view.rig().pose();
    view.mouseDown(at({400, 500}, 20, {}, 2));
    view.mouseUp(at({400, 500}, 20.1, {}, 2));
    for (int i = 0; i < 30; ++i) tick();
    EXPECT_EQ(view.rig().pose(), sky);
    EXPECT_FALSE(view.drag());
}

TEST_F(ViewportViewTest, wheelZoomKeepsThePointUnderTheCursorInBothProjections) {
    for (bool perspective : {true, false}) {
        SCOPED_TRACE(perspective ? "perspective" : "parallel");
        present(floorModel());
        view.setPerspective(perspective);
        const Float2 pointer{520, 260};
        const std::optional<Float3> under = view.hit(pointer);
        ASSERT_TRUE(under);
        const float heightBefore = view.visibleHeight();
        const float reachBefore = length(*under - view.rig().pose().position);
        view.scrollWheel(wheel(pointer, {0, 3}, 50));
        // The same gesture: the anchor is not looked up again.
        view.scrollWheel(wheel(pointer, {0, 3}, 50.05));
        const std::optional<Float3> after = view.hit(pointer);
        ASSERT_TRUE(after);
        expectNear(*after, *under, 0.02f);
        const float ratio = std::pow(0.9f, 6);
        if (perspective)
            EXPECT_NEAR(length(*under - view.rig().pose().position), reachBefore * ratio, 1e-3f);
        else
            EXPECT_NEAR(view.visibleHeight(), heightBefore * ratio, 1e-3f);
    }
}

TEST_F(ViewportViewTest, parallelAndBackKeepsTheFramingAtTheTarget) {
    present(floorModel());
    view.setAmbientOcclusionIntensity(0.6);
    view.setAmbientOcclusionEnabled(true);
    view.orbitByDegrees(25, -10);
    const Pose before = view.rig().pose();
    const float height = view.visibleHeight();

    view.setPerspective(false);
    EXPECT_NEAR(view.visibleHeight(), height, height * 1e-5f);
    EXPECT_EQ(view.cameraNode().camera->screenSpaceAmbientOcclusionIntensity, 0);

    view.setPerspective(true);
    expectNear(view.rig().pose().position, before.position);
    EXPECT_NEAR(view.rig().pose().distance, before.distance, before.distance * 1e-5f);
    expectNear(view.rig().pose().target(), before.target());
    EXPECT_EQ(view.cameraNode().camera->screenSpaceAmbientOcclusionIntensity, 0.6);
}

TEST_F(ViewportViewTest, aParallelFileCameraIsShownAndResetToAsSaved) {
    SKPModel model = floorModel();
    model.camera = Camera{{10, -30, 25}, {0, 0, 0}, {0, 0, 1}, false, 50, 18};
    present(std::move(model));
    EXPECT_EQ(view.fieldOfView(), 50);
    std::vector<bool> resets;
    view.onResetView = [&](bool perspective) { resets.push_back(perspective); };
    view.setPerspective(true);
    view.setCameraPose(Float3{1, 2, 3}, 10.0f, -20.0f, 4.0f);
    view.resetView(true);
    for (int i = 0; i < 40; ++i) tick();
    EXPECT_FALSE(view.isPerspective());
    expectNear(view.rig().pose().position, {10, -30, 25});
    expectNear(view.rig().pose().target(), {0, 0, 0});
    EXPECT_NEAR(view.orthographicScale(), 9, 1e-6);
    EXPECT_EQ(resets, std::vector<bool>{false});
}

TEST_F(ViewportViewTest, setCameraPoseKeepsMissingValuesAndClampsPitch) {
    present(floorModel());
    const Pose before = view.rig().pose();
    view.setCameraPose(std::nullopt, 30.0f, 95.0f, std::nullopt);
    const Pose& p = view.rig().pose();
    EXPECT_EQ(p.position, before.position);
    EXPECT_EQ(p.distance, before.distance);
    EXPECT_NEAR(p.yaw, pi / 6, 1e-6f);
    EXPECT_NEAR(p.pitch, 89 * pi / 180, 1e-6f);

    view.setCameraLookAt({0, -10, 0}, {0, 0, 0}, false);
    EXPECT_NEAR(view.rig().pose().distance, 10, 1e-5f);
    // Too close to tell a direction: it stays, and only the eye moves.
    view.setCameraLookAt({5, 5, 5}, {5, 5, 5.00001f}, false);
    EXPECT_NEAR(view.rig().pose().yaw, pi / 2, 1e-6f);
    EXPECT_NEAR(view.rig().pose().pitch, 0, 1e-6f);
    EXPECT_EQ(view.rig().pose().position, (Float3{5, 5, 5}));
}

TEST_F(ViewportViewTest, azertyZResetsTheViewButFliesAndTheWheelSetsSpeedWhileLooking) {
    present(floorModel());
    const Pose home = view.rig().pose();
    view.orbitByDegrees(40, 0);
    const KeyEvent z = key(keyW, "z");
    EXPECT_TRUE(view.keyDown(z));
    EXPECT_TRUE(view.rig().keys.empty());
    for (int i = 0; i < 40; ++i) tick();
    expectNear(view.rig().pose().position, home.position);

    // Right button held: the same key flies forward, and the wheel sets the flight speed only.
    view.rightMouseDown(at({400, 300}, 1));
    EXPECT_TRUE(view.keyDown(z));
    EXPECT_TRUE(view.rig().keys.contains(keyW));
    view.keyUp(z);
    const Pose looking = view.rig().pose();
    view.scrollWheel(wheel({400, 300}, {0, 2}));
    EXPECT_EQ(view.rig().pose(), looking);
    EXPECT_NEAR(view.movementSpeedScale(), 1.5625, 1e-5);
    view.rightMouseUp(at({400, 300}, 2));

    // Shift+Z frames the model from the current direction instead of going home.
    view.setCameraPose(Float3{60, 0, 10}, 180.0f, -10.0f, 5.0f);
    EXPECT_TRUE(view.keyDown(key(6, "Z", Modifiers{.shift = true})));
    for (int i = 0; i < 40; ++i) tick();
    EXPECT_NEAR(std::remainder(view.rig().pose().yaw - pi, 2 * pi), 0, 1e-5f);
    expectNear(view.rig().pose().target(), {0, 0, 1});
}

TEST_F(ViewportViewTest, commandEscapeAndReleaseInputLeaveNoKeyFlightOrHiddenCursorBehind) {
    present(floorModel());
    EXPECT_TRUE(view.keyDown(key(keyW, "w")));
    EXPECT_FALSE(view.keyDown(key(keyW, "w", Modifiers{.command = true})));
    const Pose held = view.rig().pose();
    // The key-up of W never comes: command went down while it was held.
    view.flagsChanged(Modifiers{.command = true});
    tick();
    EXPECT_EQ(view.rig().pose(), held);
    EXPECT_FALSE(timer.isRunning());

    std::vector<bool> flying;
    view.onFreeFlyingChange = [&](bool f) { flying.push_back(f); };
    view.setFreeFlying(true);
    EXPECT_EQ(view.cursorHides(), 1);
    EXPECT_FALSE(view.keyDown(key(12, "q", Modifiers{.command = true})));
    EXPECT_TRUE(view.keyDown(key(keyEscape, "\x1b")));
    EXPECT_FALSE(view.isFreeFlying());
    EXPECT_EQ(view.cursorHides(), 0);
    EXPECT_EQ(flying, (std::vector<bool>{true, false}));
    EXPECT_FALSE(view.keyDown(key(keyEscape, "\x1b")));
    // A lost right-button release while flying leaves nothing behind.
    view.setFreeFlying(true);
    view.rightMouseDown(at({400, 300}, 1));
    view.keyDown(key(keyW, "w"));
    view.releaseInput();
    EXPECT_FALSE(view.isFreeFlying());
    EXPECT_FALSE(view.drag());
    EXPECT_TRUE(view.rig().keys.empty());
    EXPECT_EQ(view.cursorHides(), 0);
}

// A session over a flat drawing, replayed event by event: pans with either button, wheel zoom,
// option-turn and a momentum flick, each leaving the pose it should.
TEST_F(ViewportViewTest, scriptedSessionOverAFlatPlanEndsAtTheExpectedPose) {
    present(planModel());
    EXPECT_TRUE(view.rig().is2DMode);
    const Pose start = view.rig().pose();
    const double startScale = view.orthographicScale();
    const float u = view.visibleHeight() / viewSize.y;
    EXPECT_NEAR(start.pitch, -pi / 2, 1e-6f);

    // Pan 60 points right and 30 up with the left button, and 10 back with the right one.
    leftDrag({200, 200}, {20, 10}, 3, 0.3);
    view.rightMouseDown(at({100, 100}, 20));
    view.rightMouseDragged(at({90, 100}, 20.016));
    view.rightMouseUp(at({90, 100}, 20.3));
    EXPECT_EQ(view.cursorHides(), 0);
    // One wheel notch towards the drawing at the middle of the view.
    view.scrollWheel(wheel({400, 300}, {0, 1}, 30));
    // Option-drag 40 points left, released slowly: a quarter turn's worth, no inertia.
    leftDrag({400, 300}, {-10, 3}, 4, 0.3, Modifiers{.option = true});
    // A trackpad flick with momentum afterwards changes nothing.
    WheelEvent flick = wheel({400, 300}, {40, 40}, 31);
    flick.hasPreciseDeltas = true;
    flick.momentumPhase = GesturePhase::changed;
    view.scrollWheel(flick);

    // Turning about the vertical keeps a straight-down eye above its target.
    const Pose& end = view.rig().pose();
    EXPECT_NEAR(end.yaw, start.yaw + 40 * orbitPerPoint, 1e-5f);
    EXPECT_EQ(end.pitch, -pi / 2);
    expectNear(end.position, start.position - start.right() * (50 * u) - start.up() * (30 * u));
    EXPECT_NEAR(view.orthographicScale(), startScale * 0.9, 1e-4);
}

}  // namespace

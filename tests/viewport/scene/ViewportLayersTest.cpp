#include <gtest/gtest.h>

#include <cmath>

#include "ManualClock.h"
#include "ManualTimer.h"
#include "ViewportTestModels.h"
#include "scene/ViewportScene.h"

using namespace vistrel;
using namespace vistrel::viewport;

namespace {

using test::square;

// Layer 1: a wall (floor plane at z = 0); layer 2: an edge 1 cm above it;
// layer 3: an edge 1 m below it; layer 4: a roof at z = 3.
SKPModel stack() {
    Definition root{"",
                    {square(1, 0), square(4, 3)},
                    {{2, {{-1, 0, 0.01f}, {1, 0, 0.01f}}}, {3, {{-1, 0.3f, -1}, {1, 0.3f, -1}}}},
                    {}};
    return test::makeModel(root, {}, {}, std::vector<Layer>(5, Layer{"L", true, {}}), {-5, -5, -1},
                           {5, 5, 3}, "stack.skp");
}

std::optional<int> pickDown(ViewportScene& s, Float3 at, bool edges = true) {
    s.setShowsEdges(edges);
    // Looking straight down from 10 m, a 60 degree view 800 points high, radius 4 points.
    return s.pickLayer(at + Float3{0, 0, 10}, {0, 0, -1}, {1, 0, 0}, {0, 1, 0}, 100, std::nullopt,
                       std::tan(float(M_PI) / 6), 800, 4);
}

// A scene on a manual timer and clock, as the flash runs in the app.
struct Pulsing {
    explicit Pulsing(SKPModel model) : scene(std::move(model)) {
        auto owned = std::make_unique<test::ManualTimer>();
        timer = owned.get();
        scene.setTimerSource(std::move(owned), &clock);
    }
    void after(double seconds) {
        clock.advance(seconds);
        timer->fire();
    }
    test::ManualClock clock;
    ViewportScene scene;
    test::ManualTimer* timer;
};

}  // namespace

TEST(ViewportLayers, edgesNearThePointerWinOverTheFaceAndOnlyInFront) {
    ViewportScene s(stack());
    // Looking down the roof is in front of everything.
    EXPECT_EQ(pickDown(s, {0, 0, 0}), 4);
    s.setLayer(4, false);  // hidden layers are passed through
    // A pixel away from the edge just above the wall: the edge's layer.
    EXPECT_EQ(pickDown(s, {0.5f, 0.005f, 0}), 2);
    // On the bare wall, away from any edge: the wall.
    EXPECT_EQ(pickDown(s, {3, 3, 0}), 1);
    // The edge 1 m below the wall is behind it and never picked, even right under the pointer.
    EXPECT_EQ(pickDown(s, {0.5f, 0.3f, 0}), 1);
    // With edges off only faces count; in wireframe only edges.
    EXPECT_EQ(pickDown(s, {0.5f, 0.005f, 0}, false), 1);
    s.setShadingStyle(ShadingStyle::wireframe);
    EXPECT_EQ(pickDown(s, {0.5f, 0.3f, 0}, false), 3);
    EXPECT_EQ(pickDown(s, {3, 3, 0}, false), std::nullopt);
    // Orthographic tolerance in model units.
    s.setShadingStyle(ShadingStyle::textured);
    s.setShowsEdges(true);
    EXPECT_EQ(s.pickLayer({0.5f, 0.02f, 10}, {0, 0, -1}, {1, 0, 0}, {0, 1, 0}, 100, 0.05f, 0, 0, 0),
              2);
    EXPECT_EQ(s.pickLayer({0.5f, 0.2f, 10}, {0, 0, -1}, {1, 0, 0}, {0, 1, 0}, 100, 0.05f, 0, 0, 0),
              1);
}

TEST(ViewportLayers, faceHitsIncludeBackFacesAndHonourReach) {
    ViewportScene s(stack());
    auto below = s.hitFaces({0, 0, -0.5f}, {0, 0, 1}, 100);  // from under the wall: a back face
    ASSERT_TRUE(below);
    EXPECT_NEAR(below->depth, 0.5f, 1e-5f);
    EXPECT_EQ(below->set->primary(), 1);
    EXPECT_FALSE(s.hitFaces({0, 0, -0.5f}, {0, 0, 1}, 0.4f));
    EXPECT_FALSE(s.hitFaces({20, 0, 1}, {0, 0, -1}, 100));
}

TEST(ViewportLayers, visibleBoundsFollowVisibilityAndFallBackToTheModel) {
    ViewportScene s(stack());
    EXPECT_EQ(s.visibleBounds().max.z, 3);
    s.setLayer(4, false);
    EXPECT_FLOAT_EQ(s.visibleBounds().max.z, 0.01f);
    s.setLayers({true, false, false, false, false});  // nothing left to see
    EXPECT_EQ(s.visibleBounds().min, (Float3{-5, -5, -1}));
    EXPECT_EQ(s.visibleBounds().max, (Float3{5, 5, 3}));
    // Bounds of chosen layers build hidden sets and count them; a layer without geometry has none.
    auto roof = s.bounds({4});
    ASSERT_TRUE(roof);
    EXPECT_FLOAT_EQ(roof->min.z, 3);
    EXPECT_FALSE(s.bounds({0}).has_value());
    s.setLayer(4, true);
    EXPECT_FALSE(s.findLayerSet({4})->node->isHidden);
}

TEST(ViewportLayers, layerZeroMatchesItsOwnSetOrElseEverySetHoldingIt) {
    // Geometry on [0, 4] and [0, 7] through instances on layer 0, and on [0] itself if asked.
    const Definition a{"a", {square(4, 0)}, {}, {}}, b{"b", {square(7, 1)}, {}, {}};
    auto matching = [&](bool ownZero, std::set<int> asked) {
        Definition root{"", {}, {}, {{0, {}, 0, false, {}, ""}, {1, {}, 0, false, {}, ""}}};
        if (ownZero) root.meshes.push_back(square(0, 2));
        ViewportScene s(SKPModel(root, {a, b}, {}, std::vector<Layer>(8, Layer{"L", true, {}}), {},
                                 {}, {-5, -5, 0}, {5, 5, 2}, {}, {}, {}, {}));
        std::vector<std::vector<int>> keys;
        for (auto* set : s.matchingLayerSets(asked)) keys.push_back(set->layers);
        return keys;
    };
    using Keys = std::vector<std::vector<int>>;
    EXPECT_EQ(matching(false, {0}), (Keys{{0, 4}, {0, 7}}));
    EXPECT_TRUE(matching(false, {}).empty());
    EXPECT_EQ(matching(true, {0, 4}), (Keys{{0}, {0, 4}}));  // not [0, 7]
    EXPECT_EQ(matching(true, {0}), (Keys{{0}}));
}

TEST(ViewportLayers, pulseFlashesRestoresAndGivesWayToHover) {
    Pulsing p(stack());
    ViewportScene& s = p.scene;
    SceneNode& wall = *s.findLayerSet({1})->node->children().front();
    SceneNode& edge = *s.findLayerSet({2})->node->children().front();
    auto wallMaterial = wall.material();
    auto edgeMaterial = edge.material();

    s.setHoveredLayers({2});
    EXPECT_NE(edge.material(), edgeMaterial);
    EXPECT_EQ(edge.renderingOrder, 2);
    auto hoverMaterial = edge.material();
    s.setHoveredLayers({2});  // the same set does nothing
    EXPECT_EQ(edge.material(), hoverMaterial);

    int updates = 0;
    s.pulseLayers({1}, [&] { ++updates; });
    EXPECT_EQ(edge.material(), edgeMaterial);  // the flash suppresses the hover
    EXPECT_NE(wall.material(), wallMaterial);
    EXPECT_GT(wall.material()->emission.x, 0.6f);  // full strength at the start
    EXPECT_EQ(updates, 1);
    EXPECT_TRUE(p.timer->isRunning());

    // A second pulse cancels the first and restores its materials before starting.
    s.pulseLayers({4});
    EXPECT_EQ(wall.material(), wallMaterial);
    SceneNode& roof = *s.findLayerSet({4})->node->children().front();
    float start = roof.material()->emission.x;
    p.after(0.3);
    EXPECT_LT(roof.material()->emission.x, start);
    EXPECT_GT(roof.material()->emission.x, 0);
    p.after(0.3);  // past 0.55 s: over
    EXPECT_FALSE(p.timer->isRunning());
    EXPECT_TRUE(s.activePulseLayers().empty());
    EXPECT_EQ(roof.material()->emission, (Float3{0, 0, 0}));
    // The hover that the flash suppressed is back without a mouse move.
    EXPECT_NE(edge.material(), edgeMaterial);
    s.setHoveredLayers({});
    EXPECT_EQ(edge.material(), edgeMaterial);
    EXPECT_EQ(edge.renderingOrder, 1);
}

TEST(ViewportLayers, pulseOnHiddenLayerBuildsItShowsNothingAndShowingItMakesItPickable) {
    SKPModel m = stack();
    m.layers[4].isVisible = false;
    Pulsing p(std::move(m));
    p.scene.pulseLayers({4});
    ASSERT_TRUE(p.scene.findLayerSet({4})->node);
    EXPECT_TRUE(p.scene.findLayerSet({4})->node->isHidden);
    EXPECT_TRUE(p.timer->isRunning());
    p.after(0.6);
    EXPECT_FALSE(p.timer->isRunning());
    EXPECT_EQ(pickDown(p.scene, {3, 3, 0}), 1);
    p.scene.setLayer(4, true);
    EXPECT_EQ(pickDown(p.scene, {3, 3, 0}), 4);
}

// The hover re-applied while a style change cancels the flash used to save the old-style
// materials, and the final restore put them back.
TEST(ViewportLayers, styleChangeUnderTheHoverShowsTheNewStyle) {
    ViewportScene s(stack());
    SceneNode& wall = *s.findLayerSet({1})->node->children().front();
    s.setHoveredLayers({1});
    s.setShadingStyle(ShadingStyle::clay);
    EXPECT_EQ(wall.material()->diffuseColor, s.clayMaterial()->diffuseColor);
    EXPECT_GT(wall.material()->emission.x, 0);
    s.setHoveredLayers({});
    EXPECT_EQ(wall.material(), s.clayMaterial());
}

#include "cad/CADNormalization.h"

#include <gtest/gtest.h>

#include <cmath>

using namespace vistrel;

namespace {

// A CAD model of edges only, bounds from its points.
SKPModel cadModel(std::vector<Float3> points, std::vector<Scene> scenes = {}) {
    Definition root;
    EdgeSet e;
    e.positions = points;
    if (e.positions.size() % 2) e.positions.push_back(e.positions.back());
    root.edges.push_back(e);
    Float3 lo = points[0], hi = points[0];
    for (Float3 p : points) {
        lo = min(lo, p);
        hi = max(hi, p);
    }
    Stats stats;
    stats.edges = int64_t(e.positions.size() / 2);
    SKPFileInfo info;
    info.url = "plan.dxf";
    info.version = "DXF";
    return SKPModel(root, {}, {}, {Layer{"0", true, std::nullopt}}, std::move(scenes), std::nullopt,
                    lo, hi, stats, info, std::nullopt, std::nullopt);
}

SKPModel square(float size, float cx = 0, float cy = 0) {
    float h = size / 2;
    return cadModel({{cx - h, cy - h, 0}, {cx + h, cy + h, 0}});
}

}  // namespace

TEST(CADNormalization, metricCalibrationByLargestSide) {
    const std::pair<float, float> cases[] = {
        {6000, 6}, {5000, 5000}, {0.04f, 40}, {0.05f, 0.05f}, {300, 300}};
    for (auto [size, expected] : cases)
        EXPECT_NEAR(normalizeCADModel(square(size)).size().x, expected, expected * 1e-5) << size;
    // Bounds that are not a number leave the drawing as it is.
    SKPModel nan = cadModel({{0, 0, 0}, {NAN, 1, 0}});
    nan.boundsMax = {NAN, 1, 0};
    EXPECT_EQ(normalizeCADModel(nan).root.edges[0].positions[1].y, 1);
}

TEST(CADNormalization, farDrawingsMoveToTheOriginInPlan) {
    // Size, centre x and y, whether it moves.
    const std::tuple<float, float, float, bool> cases[] = {
        {100, 150, 0, false},                        // 150 is not above 200
        {100, 250, 0, true},  {500, 900, 0, false},  // 2 x 500 = 1,000 is the threshold
        {500, 1100, 0, true}, {10, 150, 150, true},  // 212 m out along the diagonal
    };
    for (auto [size, cx, cy, moves] : cases) {
        const float h = size / 2;
        SKPModel m = normalizeCADModel(cadModel({{cx - h, cy - h, 1}, {cx + h, cy + h, 0}}));
        const float distance = std::hypot(m.center().x, m.center().y);
        EXPECT_NEAR(distance, moves ? 0 : std::hypot(cx, cy), 1e-3) << cx;
        EXPECT_EQ(m.root.edges[0].positions[0].z, 1);  // height kept
    }
}

TEST(CADNormalization, translateRootMovesRootOnly) {
    SKPModel m = square(10);
    m.definitions.push_back(cadModel({{0, 0, 0}, {1, 0, 0}}).root);
    Instance i;
    i.transform.m[0] = 2;
    m.root.children.push_back(i);
    SKPModel t = translateRoot(m, {100, -50, 3});
    EXPECT_EQ(t.definitions[0], m.definitions[0]);
    EXPECT_EQ(t.root.children[0].transform.column3(3), (Float3{100, -50, 3}));
    EXPECT_EQ(t.root.edges[0].positions[0], (Float3{95, -55, 3}));
    EXPECT_EQ(t.boundsMax, (Float3{105, -45, 3}));

    SKPModel s = scaleModel(m, 0.5f);
    EXPECT_EQ(s.definitions[0].edges[0].positions[1], (Float3{0.5f, 0, 0}));
    EXPECT_EQ(s.root.children[0].transform.m[0], 2);  // the 3 x 3 part stays
    EXPECT_EQ(s.boundsMax, (Float3{2.5f, 2.5f, 0}));
}

TEST(CADNormalization, loneActiveSceneIsDropped) {
    Scene active{"*Active", std::nullopt, std::nullopt}, plan{"Plan", std::nullopt, std::nullopt};
    for (const auto& [scenes, kept] : {std::pair{std::vector{active}, size_t(0)},
                                       {std::vector{active, plan}, 2},
                                       {std::vector{plan}, 1}})
        EXPECT_EQ(normalizeCADModel(cadModel({{0, 0, 0}, {1, 1, 0}}, scenes)).scenes.size(), kept);
}

TEST(CADNormalization, outlierHeightsInPlansFallToZero) {
    // A plan 100 m wide: the limit is 10 m.
    SKPModel plan =
        cadModel({{0, 0, 0}, {100, 100, 0}, {50, 50, 0}, {60, 60, 5000}, {10, 10, 8}, {20, 20, 0}});
    SKPModel m = normalizeCADModel(plan);
    std::vector<float> z;
    for (Float3 p : m.root.edges[0].positions) z.push_back(p.z);
    EXPECT_EQ(z, (std::vector<float>{0, 0, 0, 0, 8, 0}));
    EXPECT_EQ(m.boundsMax.z, 10);

    SKPModel flat = flattenOutlierZIn2DPlan(cadModel({{0, 0, -40}, {100, 100, 5000}}), 10);
    EXPECT_EQ(flat.boundsMin.z, -10);
    EXPECT_EQ(flat.boundsMax.z, 10);

    // A 3D model (many faces for its edges) is never flattened.
    SKPModel solid = plan;
    solid.stats.faces = 60;
    EXPECT_EQ(normalizeCADModel(solid).root, solid.root);
}

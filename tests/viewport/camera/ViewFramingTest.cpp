#include <gtest/gtest.h>

#include <cmath>
#include <numbers>

#include "PDFTestModels.h"
#include "camera/ViewFraming.h"

using namespace vistrel;
using namespace vistrel::viewport;

namespace {

constexpr float kDeg = std::numbers::pi_v<float> / 180;

// The angle under which a point is seen off the camera's axis, horizontally and vertically.
Float2 tangents(const CameraRig::Pose& pose, Float3 p) {
    const Float3 d = p - pose.position;
    const float z = dot(d, pose.forward());
    return {dot(d, pose.right()) / z, dot(d, pose.up()) / z};
}

}  // namespace

TEST(ViewFraming, frameCentresBoundsAtDistanceOfNarrowerAngle) {
    const Float3 lo{-1, -2, 0}, hi{3, 2, 2};
    const float r = 0.5f * length(hi - lo);
    const auto iso = ViewFraming::look(StandardView::iso, lo, hi, {1600, 900}, 35);
    EXPECT_NEAR(length(iso.pose.target() - (lo + hi) * 0.5f), 0, 1e-4);
    // Wide viewport: the vertical angle is the narrower one.
    EXPECT_NEAR(iso.pose.distance, r / std::sin(17.5f * kDeg) * 1.05f, 1e-3);
    EXPECT_NEAR(iso.orthographicScale, r * 1.05f, 1e-4);

    // Tall viewport: the horizontal angle decides, and the parallel scale grows by 1/aspect.
    const auto tall = ViewFraming::look(StandardView::iso, lo, hi, {450, 900}, 35);
    const float hfov = 2 * std::atan(std::tan(17.5f * kDeg) * 0.5f);
    EXPECT_NEAR(tall.pose.distance, r / std::sin(hfov / 2) * 1.05f, 1e-3);
    EXPECT_NEAR(tall.orthographicScale, r * 1.05f / 0.5f, 1e-4);
}

TEST(ViewFraming, framedCornersFitInsideTheView) {
    const Float3 lo{0, 0, 0}, hi{10, 4, 3};
    for (Float2 size : {Float2{1440, 900}, Float2{300, 800}}) {
        const auto f = ViewFraming::look(StandardView::front, lo, hi, size, 35);
        const float tv = std::tan(17.5f * kDeg), th = tv * size.x / size.y;
        for (int i = 0; i < 8; ++i) {
            const Float3 c{i & 1 ? hi.x : lo.x, i & 2 ? hi.y : lo.y, i & 4 ? hi.z : lo.z};
            const Float2 t = tangents(f.pose, c);
            EXPECT_LT(std::fabs(t.x), th);
            EXPECT_LT(std::fabs(t.y), tv);
        }
    }
}

TEST(ViewFraming, frameBoundsHasWiderMarginAndRadiusFloor) {
    CameraRig::Pose pose;
    const auto tiny = ViewFraming::frameBounds(pose, {0, 0, 0}, {0.01f, 0, 0}, {800, 800}, 35);
    EXPECT_NEAR(tiny.pose.distance, 0.25f / std::sin(17.5f * kDeg) * 1.15f, 1e-4);
    EXPECT_NEAR(tiny.orthographicScale, 0.25f * 1.15f, 1e-5);
    const auto point = ViewFraming::frame(pose, {0, 0, 0}, {0, 0, 0}, {800, 800}, 35);
    EXPECT_NEAR(point.orthographicScale, 0.01f * 1.05f, 1e-6) << "frame floors at 0.01";
}

TEST(ViewFraming, modelCameraGivesPoseAndProjection) {
    Camera c{{0, -10, 0}, {0, 0, 0}, {0, 0, 1}, false, 200, 8};
    const auto v = ViewFraming::apply(c);
    EXPECT_FALSE(v.isPerspective);
    EXPECT_FLOAT_EQ(v.fovDegrees, 120);
    ASSERT_TRUE(v.orthographicScale);
    EXPECT_FLOAT_EQ(*v.orthographicScale, 4);
    EXPECT_NEAR(v.pose.distance, 10, 1e-5);
    EXPECT_NEAR(length(v.pose.forward() - Float3{0, 1, 0}), 0, 1e-5);
    EXPECT_NEAR(length(v.pose.target() - c.target), 0, 1e-4);
}

TEST(ViewFraming, initialViewPrefersCameraThenTopForPlansThenIso) {
    const SKPModel synthetic = SyntheticModel::cube();
    const auto withCamera =
        ViewFraming::initialView(synthetic, synthetic.boundsMin, synthetic.boundsMax, {1440, 900});
    EXPECT_NEAR(length(withCamera.pose.position - synthetic.camera->position), 0, 1e-5);
    EXPECT_TRUE(withCamera.isPerspective);

    // A flat CAD drawing: seen from the top, in parallel projection.
    Definition root;
    root.edges.push_back({0, {{0, 0, 0}, {20, 0, 0}, {20, 0, 0}, {20, 10, 0}}});
    const SKPModel plan = test::makeModel(root, {}, {}, {}, {0, 0, 0}, {20, 10, 0}, "Plan.dxf",
                                          Stats{0, 0, 2, 0, 0, 0});
    ASSERT_TRUE(plan.isPlanar2D());
    const auto top = ViewFraming::initialView(plan, plan.boundsMin, plan.boundsMax, {1440, 900});
    EXPECT_FALSE(top.isPerspective);
    EXPECT_NEAR(top.pose.forward().z, -1, 1e-5);
    EXPECT_NEAR(top.pose.up().y, 1, 1e-5) << "north is up on the page";

    const SKPModel cube = test::centredCube();
    const auto iso = ViewFraming::initialView(cube, cube.boundsMin, cube.boundsMax, {1440, 900});
    EXPECT_TRUE(iso.isPerspective);
    const Float3 f = iso.pose.forward();
    EXPECT_NEAR(f.x, -1 / std::sqrt(3.0f), 1e-4);
    EXPECT_NEAR(f.y, 1 / std::sqrt(3.0f), 1e-4);
    EXPECT_NEAR(f.z, -1 / std::sqrt(3.0f), 1e-4);
}

TEST(ViewFraming, visibleBoundsFollowLayersAndFallBackToModel) {
    const SKPModel synthetic = SyntheticModel::cube();
    const auto all = ViewFraming::visibleBounds(synthetic, {true, true});
    EXPECT_FLOAT_EQ(all.max.x, 2.5f);
    const auto first = ViewFraming::visibleBounds(synthetic, {true, false});
    EXPECT_FLOAT_EQ(first.max.x, 1);
    const auto none = ViewFraming::visibleBounds(synthetic, {false, false});
    EXPECT_EQ(none.max, synthetic.boundsMax);
}

#include <gtest/gtest.h>

#include <cmath>
#include <numbers>

#include "ViewportTestModels.h"
#include "camera/ViewFraming.h"
#include "vocabulary/StandardView.h"

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

TEST(ViewFraming, boxFitsTheViewWithItsSphereFillingTheNarrowerAngle) {
    const Float3 lo{-1, -2, 0}, hi{3, 4, 2};
    const float r = 0.5f * length(hi - lo), tv = std::tan(17.5f * kDeg);
    for (StandardView view : {StandardView::iso, StandardView::front})
        for (Float2 size : {Float2{1600, 900}, Float2{450, 900}}) {
            SCOPED_TRACE(testing::Message() << label(view) << " " << size.x);
            const auto f = ViewFraming::look(view, lo, hi, size, 35);
            test::expectNear(f.pose.target(), (lo + hi) * 0.5f, 1e-4f);
            const float aspect = size.x / size.y, th = tv * aspect;
            for (int i = 0; i < 8; ++i) {
                const Float3 c{i & 1 ? hi.x : lo.x, i & 2 ? hi.y : lo.y, i & 4 ? hi.z : lo.z};
                const Float2 t = tangents(f.pose, c);
                EXPECT_LT(std::fabs(t.x), th);
                EXPECT_LT(std::fabs(t.y), tv);
            }
            const float narrower = std::atan(std::min(tv, th));
            EXPECT_NEAR(f.pose.distance * std::sin(narrower), r * 1.05f, 1e-3f);
            EXPECT_NEAR(f.orthographicScale * std::min(1.0f, aspect), r * 1.05f, 1e-3f);
        }
    // Zooming to a chosen box: never closer than a 0.25 m sphere, and 15 % to spare.
    const auto tiny = ViewFraming::frameBounds({}, {0, 0, 0}, {0.01f, 0, 0}, {800, 800}, 35);
    EXPECT_NEAR(tiny.orthographicScale, 0.25f * 1.15f, 1e-5);
}

TEST(ViewFraming, initialViewShowsPlansFromTheTopNorthUpAndModelsInIso) {
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
    test::expectNear(iso.pose.forward(), forward(StandardView::iso), 1e-4f);
}

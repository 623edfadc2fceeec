// Projection, clipping, lighting and the model walk of the vector PDF export, on its own lists.
#include <gtest/gtest.h>

#include <stb_image_write.h>

#include <cmath>
#include <numbers>

#include "TestEnv.h"
#include "ViewportTestModels.h"
#include "pdf/VectorPDFLighting.h"
#include "pdf/VectorPDFProjector.h"
#include "pdf/VectorPDFVisitor.h"

using namespace vistrel;
using namespace vistrel::viewport;
using namespace vistrel::viewport::VectorPDFExporter;

namespace {

// Looks along +Y from the origin, distance 10: right is +X, up is +Z.
CameraRig::Pose lookingAlongY() {
    return {{0, 0, 0}, std::numbers::pi_v<float> / 2, 0, 10};
}

struct Walk {
    std::vector<ProjectedTriangle> triangles;
    std::vector<ProjectedEdge> edges;
};

Walk walk(const SKPModel& model, Options options) {
    options.pose = lookingAlongY();
    options.pose.position = {0, -5, 0};
    options.isPerspective = false;
    options.orthographicScale = 3;
    const Projector projector = Projector::make(options.pose, false, 35, 3, 400, 300);
    const LightingRig lighting = LightingRig::make(options, model);
    const auto materials = resolveMaterialColors(model);
    VectorPDFVisitor visitor(model, options, projector, lighting, materials);
    visitor.run(true, true);
    return {visitor.triangles, visitor.edges};
}

// A face in the XZ plane that the camera along +Y sees, with its edges.
Definition panel(int meshLayer, int edgeLayer, std::optional<int> material = std::nullopt) {
    Definition d;
    d.meshes.push_back(test::triangleMesh({0, 0, 0}, {1, 0, 0}, {0, 0, 1}, meshLayer, material));
    d.edges.push_back({edgeLayer, {{0, 0, 0}, {1, 0, 0}}});
    return d;
}

}  // namespace

TEST(VectorPDFProjection, segmentsProjectThroughTheCentreAndAreClippedBehindTheEye) {
    const Projector p = Projector::make(lookingAlongY(), true, 60, 1, 400, 300);
    const float focal = float(150 / std::tan(30 * std::numbers::pi / 180));  // 60 degrees high
    std::vector<ProjectedEdge> out;
    // A point 10 m ahead and 1 m to the right lands focal / 10 points right of centre.
    p.projectSegment({0, 10, 0}, {1, 10, 0}, 0, out);
    ASSERT_EQ(out.size(), 1u);
    EXPECT_NEAR(out[0].p0.x, 200, 1e-3);
    EXPECT_NEAR(out[0].p1.x, 200 + focal / 10, 1e-3);
    EXPECT_NEAR(out[0].p1.y, 150, 1e-3);
    EXPECT_NEAR(out[0].depth, 10, 1e-4);
    out.clear();
    p.projectSegment({0, -1, 0}, {1, -2, 0}, 0, out);  // behind the eye
    EXPECT_TRUE(out.empty());
    p.projectSegment({0, -1, 0}, {0, 5, 0}, 0.5f, out);  // one end behind: clipped, kept
    ASSERT_EQ(out.size(), 1u);
    EXPECT_NEAR(out[0].depth, 0.5f * (p.nearPlane + 5) - 0.5f, 1e-4);
}

TEST(VectorPDFProjection, trianglesSplitAtTheNearPlaneAndDropOffPage) {
    const Projector p = Projector::make(lookingAlongY(), true, 60, 1, 400, 300);
    struct Case {
        Float3 a, b, c;
        size_t pieces;
        const char* what;
    } cases[] = {
        {{0, -1, -0.5f}, {1, 5, 0.5f}, {-1, 5, 0}, 2, "one corner behind: a fan of two"},
        {{0, 5, 0.5f}, {1, 5, 0}, {-1, 5, 0}, 1, "wholly in front"},
        {{0, -1, 0}, {1, -2, 0.5f}, {-1, -2, -0.5f}, 0, "wholly behind"},
        {{50, 5, 0}, {51, 5, 0}, {50, 5, 1}, 0, "far right of the page"},
        {{0, 5, 0}, {1, 5, 0}, {2, 5, 0}, 0, "collinear"},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.what);
        std::vector<ProjectedTriangle> out;
        p.projectTriangle(c.a, c.b, c.c, out);
        ASSERT_EQ(out.size(), c.pieces);
        for (const auto& t : out) {
            EXPECT_GT(t.area, 0.01);
            EXPECT_GT(t.depth, p.nearPlane);
        }
        if (c.pieces == 2) {
            EXPECT_NE(out[0].depth, out[1].depth) << "each piece its own depth";
        }
    }
    // Clipping keeps the order: leaving towards the outside corner, entering, then the insiders.
    const ClipPolygon clipped =
        clipPolygonAgainstNearPlane(ClipPolygon{{{0, 0, -1}, {0, 1, 1}, {1, 0, 1}}, 3}, 0);
    ASSERT_EQ(clipped.count, 4);
    const Float3 expected[] = {{0.5f, 0, 0}, {0, 0.5f, 0}, {0, 1, 1}, {1, 0, 1}};
    for (int k = 0; k < 4; ++k) EXPECT_EQ(clipped.corners[k], expected[k]) << k;
    EXPECT_EQ(clipPolygonAgainstNearPlane(ClipPolygon{}, 0).count, 0);
}

TEST(VectorPDFLighting, sunFacingFaceIsBrighterAndNormalsTurnToTheEye) {
    const LightingRig rig = LightingRig::make(Options{}, test::centredCube());
    const Float3 base{0.96f, 0.96f, 0.96f};
    const Float3 sunSide = rig.sunDirection * 10, shadowSide = rig.sunDirection * -10;
    const Float3 lit = rig.shade({0, 0, 0}, rig.sunDirection, sunSide, base);
    const Float3 away = rig.shade({0, 0, 0}, -rig.sunDirection, shadowSide, base);
    EXPECT_GT(lit.x, away.x + 0.2f);
    // A normal that looks away from the eye is turned around first.
    EXPECT_EQ(rig.shade({0, 0, 0}, rig.sunDirection, shadowSide, base), away);
    EXPECT_EQ(rig.shade({0, 0, 0}, -rig.sunDirection, sunSide, base), lit);
}

TEST(VectorPDFLighting, pointLightFadesWithDistanceAndExposureScales) {
    Options o;
    o.lightingMode = LightingMode::point;
    o.pointLights = {{{}, "L", {0, 0, 2}, 1, false}};
    o.ambientIntensity = 0;
    const SKPModel model = test::centredCube();
    const LightingRig rig = LightingRig::make(o, model);
    const Float3 near = rig.shade({0, 0, 1.5f}, {0, 0, 1}, {0, 0, 10}, {0.5f, 0.5f, 0.5f});
    const Float3 far = rig.shade({0, 0, 0}, {0, 0, 1}, {0, 0, 10}, {0.5f, 0.5f, 0.5f});
    EXPECT_GT(near.x, far.x);
    EXPECT_GT(far.x, 0) << "some light is left beyond the reach";
    o.exposureOffset += 1;  // one stop brighter
    EXPECT_NEAR(LightingRig::make(o, model).exposure, 2 * rig.exposure, 1e-5);
}

TEST(VectorPDFMaterials, textureAverageReplacesWhiteAndTintsColour) {
    test::TempDir dir;
    // Half red, half blue, opaque; the same fully transparent gives nothing.
    const unsigned char opaque[] = {255, 0, 0, 255, 0, 0, 255, 255},
                        transparent[] = {255, 0, 0, 0, 0, 0, 255, 0};
    const auto png = dir / "half.png", clear = dir / "clear.png";
    ASSERT_TRUE(stbi_write_png(png.c_str(), 2, 1, 4, opaque, 8));
    ASSERT_TRUE(stbi_write_png(clear.c_str(), 2, 1, 4, transparent, 8));
    const auto average = averageTextureColor(png);
    ASSERT_TRUE(average);
    EXPECT_NEAR(average->x, 0.5f, 0.01f);
    EXPECT_NEAR(average->z, 0.5f, 0.01f);
    EXPECT_FALSE(averageTextureColor(clear));

    SKPModel model = test::makeModel(
        {}, {},
        {{"white", {1, 1, 1, 1}, 1, false, png, {1, 1}},
         {"tinted", {0.5f, 1, 1, 0.5f}, 0.8f, true, png, {1, 1}},
         {"unreadable", {0.2f, 0.3f, 0.4f, 1}, 0.01f, true, dir / "missing.png", {1, 1}}},
        {}, {}, {}, "M.skp");
    const auto colors = resolveMaterialColors(model);
    ASSERT_EQ(colors.size(), 3u);
    EXPECT_NEAR(colors[0].color.x, 0.5f, 0.01f);
    EXPECT_NEAR(colors[1].color.x, 0.25f, 0.01f);  // multiplied
    EXPECT_NEAR(colors[1].color.y, 0.0f, 0.01f);
    EXPECT_FLOAT_EQ(colors[1].opacity, 0.4f);  // opacity times colour alpha
    EXPECT_FLOAT_EQ(colors[2].color.z, 0.4f);  // falls back to its own colour
    EXPECT_FLOAT_EQ(colors[2].opacity, 0.05f);
}

TEST(VectorPDFVisit, hiddenLayerInInstanceChainHidesWholeSubtree) {
    // The panel's own geometry sits on visible layer 0; the instance that holds it is on 1.
    Definition root;
    root.children.push_back({0, Float4x4::identity(), 1, false, std::nullopt, "Hidden"});
    root.children.push_back({0, Float4x4::translation({2, 0, 0}), 2, false, std::nullopt, "Out"});
    const SKPModel model =
        test::makeModel(std::move(root), {panel(0, 0)}, {}, {{"0", true, {}}, {"1", true, {}}},
                        {0, 0, 0}, {3, 0, 1}, "L.skp");
    Options o;
    o.visibleLayers = {true, false};  // layer 2 is beyond the list: visible
    const Walk w = walk(model, o);
    ASSERT_EQ(w.triangles.size(), 1u);
    ASSERT_EQ(w.edges.size(), 1u);
    EXPECT_GT(w.triangles[0].p0.x, 200) << "only the instance on the unlisted layer remains";

    o.visibleLayers = {true, true};
    EXPECT_EQ(walk(model, o).triangles.size(), 2u);
    o.visibleLayers = {false, true};  // the meshes' own layer hides them everywhere
    const Walk none = walk(model, o);
    EXPECT_TRUE(none.triangles.empty());
    EXPECT_TRUE(none.edges.empty());
}

TEST(VectorPDFVisit, stylesDecideColourAndAlpha) {
    Definition root = panel(0, 0, 0);
    root.meshes.push_back(test::triangleMesh({2, 0, 0}, {3, 0, 0}, {2, 0, 1}, 0, 1));
    const SKPModel model =
        test::makeModel(std::move(root), {},
                        {{"red", {0.9f, 0.1f, 0.1f, 1}, 1, false, {}, {1, 1}},
                         {"glass", {0.2f, 0.4f, 0.9f, 1}, 0.3f, true, {}, {1, 1}}},
                        {}, {0, 0, 0}, {3, 0, 1}, "S.skp");
    Options o;
    o.shadingStyle = ShadingStyle::clay;
    Walk w = walk(model, o);
    ASSERT_EQ(w.triangles.size(), 2u);
    EXPECT_FLOAT_EQ(w.triangles[0].alpha, 1);
    // Clay turns the opaque red into the clay colour (equal red and green up to the tint).
    EXPECT_NEAR(w.triangles[0].color.x / w.triangles[0].color.y, 0.94f / 0.92f, 0.01f);
    EXPECT_FLOAT_EQ(w.triangles[1].alpha, 0.3f) << "glass stays glass";
    EXPECT_GT(w.triangles[1].color.z, w.triangles[1].color.x);

    o.shadingStyle = ShadingStyle::xray;
    w = walk(model, o);
    EXPECT_FLOAT_EQ(w.triangles[0].alpha, 0.36f);
    EXPECT_FLOAT_EQ(w.triangles[1].alpha, 0.3f);
    EXPECT_GT(w.triangles[0].color.x, w.triangles[0].color.y) << "xray keeps the colour";
}

#include <gtest/gtest.h>

#include <stb_image_write.h>

#include "TestEnv.h"
#include "model/SyntheticModel.h"
#include "scene/ViewportScene.h"

using namespace vistrel;
using namespace vistrel::viewport;

namespace {

SKPModel withMaterials(std::vector<vistrel::Material> materials) {
    SKPModel cube = SyntheticModel::cube();
    return SKPModel(cube.root, cube.definitions, std::move(materials), cube.layers, {}, {},
                    cube.boundsMin, cube.boundsMax, cube.stats, cube.fileInfo, {}, {});
}

}  // namespace

TEST(ViewportMaterials, opacityAndTransparencyRules) {
    SKPModel m = withMaterials({{"thin", {1, 0, 0, 1}, 0.02f, true, {}, {1, 1}},
                                {"flagged", {0, 1, 0, 1}, 1.0f, true, {}, {1, 1}},
                                {"solid", {0, 0, 1, 1}, 1.0f, false, {}, {1, 1}}});
    ViewportScene s(std::move(m));
    auto thin = s.scnMaterial(0, ViewportScene::UVs::none);
    EXPECT_FLOAT_EQ(thin->transparency, 0.08f);  // too thin to see: raised to a trace
    EXPECT_FALSE(thin->writesToDepthBuffer);
    auto flagged = s.scnMaterial(1, ViewportScene::UVs::none);
    EXPECT_EQ(flagged->transparencyMode, viewport::Material::TransparencyMode::dualLayer);
    EXPECT_FLOAT_EQ(flagged->transparency, 1.0f);
    EXPECT_TRUE(flagged->isSeeThrough());
    auto solid = s.scnMaterial(2, ViewportScene::UVs::none);
    EXPECT_FALSE(solid->isSeeThrough());
    EXPECT_TRUE(solid->isDoubleSided);
    // Cached per (index, mode).
    EXPECT_EQ(s.scnMaterial(2, ViewportScene::UVs::none), solid);
}

TEST(ViewportMaterials, texturesDecodeOnceAndMissingFilesFallBackToColour) {
    test::TempDir dir;
    const unsigned char pixel[4] = {200, 100, 50, 255};
    ASSERT_TRUE(stbi_write_png((dir / "t.png").c_str(), 1, 1, 4, pixel, 4));
    SKPModel m =
        withMaterials({{"wood", {0.5f, 0.4f, 0.3f, 1}, 0.5f, false, dir / "t.png", {2, 4}},
                       {"lost", {0.1f, 0.2f, 0.3f, 1}, 1, false, dir / "nope.png", {1, 1}}});
    ViewportScene s(std::move(m));
    auto own = s.scnMaterial(0, ViewportScene::UVs::own);
    auto inherited = s.scnMaterial(0, ViewportScene::UVs::inherited);
    ASSERT_NE(own, inherited);
    ASSERT_TRUE(own->diffuseImage);
    EXPECT_EQ(own->diffuseImage, inherited->diffuseImage);  // decoded once
    EXPECT_TRUE(own->wrapRepeat);
    EXPECT_EQ(own->alphaMultiply, 0.5f);  // the material's opacity carries over
    // Own coordinates are only flipped; inherited ones are scaled by the texture size first.
    EXPECT_EQ(own->contentsTransform.transformPoint({0.25f, 0.25f, 0}), (Float3{0.25f, 0.75f, 0}));
    EXPECT_EQ(inherited->contentsTransform.transformPoint({1, 2, 0}), (Float3{0.5f, 0.5f, 0}));
    // A missing file gives the plain-colour material for every mode.
    auto lostOwn = s.scnMaterial(1, ViewportScene::UVs::own);
    EXPECT_EQ(lostOwn, s.scnMaterial(1, ViewportScene::UVs::none));
    EXPECT_FALSE(lostOwn->diffuseImage);
    EXPECT_FLOAT_EQ(lostOwn->diffuseColor.z, 0.3f);
}

TEST(ViewportMaterials, stylesSwapMaterialsWithoutTouchingGeometry) {
    SKPModel m = withMaterials({{"glass", {0.6f, 0.8f, 1, 1}, 0.2f, true, {}, {1, 1}}});
    ViewportScene s(std::move(m));
    ASSERT_EQ(s.faceNodes().size(), 2u);
    const auto& plain = s.faceNodes()[0];  // default material
    const auto& glass = s.faceNodes()[1];  // the second cube is painted with glass
    const Geometry* geometry = plain.node->geometry.get();
    s.setShadingStyle(ShadingStyle::clay);
    EXPECT_EQ(plain.node->material(), s.clayMaterial());
    EXPECT_EQ(glass.node->material(), glass.material);  // glass stays glass
    EXPECT_FALSE(glass.node->castsShadow);
    s.setShadingStyle(ShadingStyle::xray);
    EXPECT_FLOAT_EQ(glass.node->material()->transparency, 0.2f);  // never less see-through
    s.setShowsEdges(false);
    s.setShadingStyle(ShadingStyle::wireframe);
    for (auto& f : s.faceNodes()) EXPECT_TRUE(f.node->isHidden);
    for (auto& e : s.edgeNodes()) EXPECT_FALSE(e->isHidden);
    s.setShadingStyle(ShadingStyle::textured);
    for (auto& e : s.edgeNodes()) EXPECT_TRUE(e->isHidden);
    EXPECT_EQ(plain.node->material(), plain.material);
    EXPECT_FALSE(plain.node->isHidden);
    EXPECT_EQ(plain.node->geometry.get(), geometry);
}

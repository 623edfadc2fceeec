#include <gtest/gtest.h>

#include <cmath>

#include "ScopedLanguage.h"
#include "ViewportTestModels.h"
#include "model/SyntheticModel.h"
#include "scene/ViewportScene.h"

using namespace vistrel;
using namespace vistrel::viewport;

namespace {

// The direction a light node shines in, in model space: its local -Z.
Float3 shining(const SceneNode& n) {
    return -n.transform.column3(2);
}

float elevationDegrees(Float3 towardsLight) {
    return std::asin(towardsLight.z / length(towardsLight)) * 180 / float(M_PI);
}

// A model with one triangle `height` high per entry, named as given, at x = 3i.
SKPModel fixtures(std::vector<std::pair<std::string, float>> named) {
    std::vector<Definition> defs;
    Definition root;
    for (auto& [name, height] : named) {
        const int i = int(defs.size());
        defs.push_back(
            {name, {test::triangleMesh({0, 0, 0}, {0.2f, 0, 0}, {0, 0.2f, height})}, {}, {}});
        root.children.push_back({i, Float4x4::translation({3.0f * i, 0, 0}), 0, false, {}, ""});
    }
    return test::makeModel(root, defs, {}, {}, {0, 0, 0}, {3.0f * defs.size(), 1, 6}, "lights.skp");
}

}  // namespace

TEST(ViewportLights, sunElevationIsClampedBetweenFiveAndEightyEightDegrees) {
    ViewportScene s(SyntheticModel::cube());
    const float cases[][2] = {{90, 88}, {45, 45}, {0, 5}, {-30, 5}, {88, 88}, {5, 5}};
    for (const auto& [set, aimed] : cases) {
        s.setSunElevationDegrees(set);
        EXPECT_NEAR(elevationDegrees(-shining(*s.sun())), aimed, 0.01f) << set;
        EXPECT_FLOAT_EQ(s.sunElevationDegrees(), set);  // the slider keeps its value
    }
    // The sun stands south-west, so its light travels north-east; the sky fill faces it.
    const Float3 sun = shining(*s.sun()), sky = shining(*s.skyFill());
    EXPECT_TRUE(sun.x > 0 && sun.y > 0 && sun.z < 0);
    EXPECT_TRUE(sky.x < 0 && sky.y < 0 && sky.z < 0);
}

TEST(ViewportLights, dimSunCastsNoShadowAndPointModeTurnsTheSunOff) {
    ViewportScene s(SyntheticModel::cube());
    const float sun = s.sun()->light->intensity;

    s.setSunIntensity(0.0005f);  // dim, and no shadows
    EXPECT_GT(s.sun()->light->intensity, 0);
    EXPECT_FALSE(s.sun()->light->castsShadow);
    s.setAmbientIntensity(-1);  // counts as 0
    EXPECT_FLOAT_EQ(s.fill()->light->intensity, 0);
    s.resetSun();
    EXPECT_FLOAT_EQ(s.sun()->light->intensity, sun);
    EXPECT_TRUE(s.sun()->light->castsShadow);

    s.setLightingMode(LightingMode::point);
    EXPECT_FLOAT_EQ(s.sun()->light->intensity, 0);
    EXPECT_FALSE(s.sun()->light->castsShadow);
    EXPECT_FALSE(s.pointLightsRoot()->isHidden);
}

TEST(ViewportLights, pointModeAddsOneLightOnceAndOnlyTwoCastShadows) {
    ViewportScene s(SyntheticModel::cube());
    s.setLightingMode(LightingMode::point);
    s.setLightingMode(LightingMode::sun);
    EXPECT_TRUE(s.pointLightsRoot()->children().empty());
    s.setLightingMode(LightingMode::point);
    EXPECT_EQ(s.pointLights().size(), 1u);

    auto lights = s.pointLights();
    lights.push_back({Uuid::random(), "B", {1, 1, 1}, 1, false});
    lights.push_back({Uuid::random(), "C", {2, 1, 1}, 1, false});
    s.setPointLights(lights);
    ASSERT_EQ(s.pointLightsRoot()->children().size(), 3u);
    for (size_t i = 0; i < 3; ++i) {
        const SceneNode& node = *s.pointLightsRoot()->children()[i];
        EXPECT_EQ(node.name, lights[i].name);
        const Light& omni = *node.children()[0]->light;
        EXPECT_EQ(omni.type, Light::Type::omni);
        EXPECT_EQ(omni.castsShadow, i < 2) << i;
        EXPECT_NEAR(omni.intensity, 2400 * 0.86f, 1e-3f);
    }
    s.setShowsPointLightGizmo(false);
    EXPECT_TRUE(s.pointLightsRoot()->children()[0]->children()[1]->isHidden);
}

TEST(ViewportLights, lightNamesMatchWholeWordsOnly) {
    const std::pair<const char*, bool> cases[] = {
        {"Spotlight 3", false},       {"Spot 3", true},    {"DAYLIGHT lamp", false},
        {"Lumière_salon", true},      {"LUMIERE", true},   {"lamp post", true},
        {"Table lamp", true},         {"my_bulb_x", true}, {"bulbous", false},
        {"Highlight light", false},   {"", false},         {"Ampoule-E27", true},
        {"projecteur découpe", true}, {"Chair", false},    {"floor-light", true}};
    for (const auto& [name, matches] : cases)
        EXPECT_EQ(ViewportScene::matchesLightName(name), matches) << name;
}

TEST(ViewportLights, fixturesAreFoundByNameSizeAndDistance) {
    test::ScopedLanguage french(AppLanguage::fr);
    ViewportScene s(fixtures({{"Lamp", 0.5f}, {"lamp post", 6}, {"Chair", 0.5f}, {"Spot", 0.5f}}));
    auto found = s.detectedSceneLights();
    ASSERT_EQ(found.size(), 2u);  // the 6 m lamp post is too large, the chair no light
    EXPECT_EQ(found[0].name, "Lamp");
    EXPECT_EQ(found[1].name, "Spot");
    EXPECT_NEAR(found[0].position.x, 0.1f, 1e-6f);
    EXPECT_NEAR(found[1].position.x, 9.1f, 1e-6f);
    // Found lights become the point lights, but the mode stays sun.
    EXPECT_EQ(s.pointLights().size(), 2u);
    EXPECT_EQ(s.lightingMode(), LightingMode::sun);
}

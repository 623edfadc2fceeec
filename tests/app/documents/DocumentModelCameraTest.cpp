#include <gtest/gtest.h>

#include <cmath>

#include "DocumentModelFixture.h"
#include "ScopedLanguage.h"

using namespace vistrel;
using namespace vistrel::app;
using viewport::BackdropStyle;
using viewport::LightingMode;
using viewport::ShadingStyle;
using vistrel::test::DocumentModelTest;

namespace {

SKPModel boxBetween(float lowZ, float highZ) {
    Definition root;
    root.meshes.push_back(test::boxMesh(0, {0, 0, lowZ}));
    return SKPModel(std::move(root), {}, {}, {{"0", true, std::nullopt}}, {}, std::nullopt,
                    {0, 0, lowZ}, {1, 1, highZ}, Stats{6, 12, 0, 0, 0, 0}, SKPFileInfo{},
                    std::nullopt, std::nullopt);
}

}  // namespace

TEST_F(DocumentModelTest, eyeHeightStandsOnTheGroundOrAFloatingModelAndKeepsTheHeading) {
    struct Case {
        float low, high, expectedZ;
    };
    for (auto c : {Case{-0.1f, 3, 1.6f}, Case{2, 5, 3.6f}, Case{0, 1, 1.6f}}) {
        model.reset();
        doc().set(boxBetween(c.low, c.high));
        doc().setCameraEyeHeight(1.6f);
        EXPECT_NEAR(doc().viewport().cameraModelPosition().z, c.expectedZ, 1e-4) << c.low;
    }
    present(boxBetween(0, 3));
    doc().viewport().setCameraPose(Float3{5, 5, 9}, 40.0f, -30.0f, std::nullopt);
    doc().setCameraEyeHeight(1.6f);
    EXPECT_TRUE(std::abs(doc().cameraPosition().x - 5) < 1e-4 &&
                std::abs(doc().cameraYaw() - 40) < 1e-3 && std::abs(doc().cameraPitch()) < 1e-3);
    model.reset();
    doc().set(boxBetween(0, 4));
    doc().centerCameraInModel();
    EXPECT_EQ(doc().viewport().cameraModelPosition(), (Float3{0.5f, 0.5f, 2}));
}

TEST_F(DocumentModelTest, lensAndProjectionReachTheViewportAndPersist) {
    doc().set(SyntheticModel::cube());
    int writes = 0;
    QObject::connect(&doc(), &DocumentModel::isPerspectiveChanged, [&] { ++writes; });
    doc().resetView();
    EXPECT_EQ(writes, 0) << "no reset while loading";
    present(SyntheticModel::cube());
    doc().setCameraFocalLength(5000);  // beyond the narrowest field
    EXPECT_NEAR(doc().viewport().fieldOfView(), doc().cameraFOV(), 1e-4);
    EXPECT_GT(doc().cameraFOV(), 1);
    doc().setPerspective(false);
    EXPECT_FALSE(doc().viewport().isPerspective() || Preferences::boolValue("isPerspective"));
    doc().resetView();
    EXPECT_EQ(doc().isPerspective(), doc().viewport().isPerspective());
}

TEST_F(DocumentModelTest, togglesArePersistedAndPushedButWireframeEdgesAreNot) {
    Preferences::setBool("showsEdges", false);
    auto& scene = present(SyntheticModel::cube());
    doc().setShadingStyle(ShadingStyle::wireframe);
    EXPECT_TRUE(doc().showsEdges()) << "wireframe turns edges on in the field only";
    EXPECT_FALSE(scene.showsEdges());
    EXPECT_FALSE(Preferences::boolValue("showsEdges"));
    doc().setShadingStyle(ShadingStyle::textured);
    doc().toggleGrid();
    doc().toggleShadows();
    EXPECT_TRUE(scene.showsGrid() && !scene.shadowsEnabled());
    EXPECT_FALSE(Preferences::boolValue("shadowsEnabled"));
    ASSERT_TRUE(store.flush());
    EXPECT_EQ(SettingsStore(store.path()).value("showsGrid"), nlohmann::json(true));

    doc().setCustomBackdropColor({1.5f, -1, 0.5f});
    EXPECT_EQ(scene.backdropStyle(), BackdropStyle::customColor);
    EXPECT_EQ(Preferences::backdropStyleRaw(), "customColor");
    EXPECT_EQ(Preferences::customBackdropColor(), (Float3{1, 0, 0.5f}));
}

TEST_F(DocumentModelTest, lightValuesAreClampedAndReachTheScene) {
    auto& scene = present(SyntheticModel::cube());
    const float azimuth = scene.sunAzimuthDegrees(), elevation = scene.sunElevationDegrees();
    doc().setSunIntensity(-1);
    EXPECT_FLOAT_EQ(doc().sunIntensity(), 0);
    doc().setAmbientIntensity(50);
    EXPECT_LT(doc().ambientIntensity(), 50);
    EXPECT_FLOAT_EQ(scene.ambientIntensity(), doc().ambientIntensity());
    doc().setSun(400, -100);
    doc().resetSun();
    EXPECT_TRUE(scene.sunAzimuthDegrees() == azimuth && scene.sunElevationDegrees() == elevation);

    // Occlusion follows its intensity and never switches on invisible.
    doc().setAmbientOcclusionIntensity(0);
    EXPECT_FALSE(doc().viewport().ambientOcclusionEnabled());
    doc().toggleAmbientOcclusion();
    EXPECT_TRUE(Preferences::boolValue("ambientOcclusionEnabled"));
    EXPECT_GT(Preferences::ambientOcclusionIntensity(), 0);
    EXPECT_NEAR(doc().viewport().ambientOcclusionIntensity(),
                Preferences::ambientOcclusionIntensity(), 1e-6);
}

TEST_F(DocumentModelTest, pointLightsStartAtTheCentreStepAsideAndTheLastStays) {
    test::ScopedLanguage english(AppLanguage::en);
    doc().set(boxBetween(0, 2));
    doc().setLightingMode(LightingMode::point);
    doc().setLightingMode(LightingMode::sun);
    doc().setLightingMode(LightingMode::point);
    ASSERT_EQ(doc().pointLights().size(), 1u);
    EXPECT_EQ(doc().pointLights()[0].name, "Light 1");
    EXPECT_EQ(doc().pointLights()[0].position, (Float3{0.5f, 0.5f, 1}));
    doc().removeSelectedPointLight();
    EXPECT_EQ(doc().pointLights().size(), 1u) << "the last light stays";

    // Adding in sun mode switches to point with the new light selected, a step aside.
    test::ScopedLanguage french(AppLanguage::fr);
    model.reset();
    auto& scene = present(SyntheticModel::cube());
    doc().addPointLight();
    doc().setLightingMode(LightingMode::sun);
    doc().addPointLight();
    EXPECT_EQ(scene.lightingMode(), LightingMode::point);
    ASSERT_EQ(doc().pointLights().size(), 2u);
    EXPECT_EQ(doc().selectedPointLightIndex(), 1);
    EXPECT_EQ(doc().pointLights()[1].name, "Lumière 2");
    EXPECT_NE(doc().pointLights()[0].id, doc().pointLights()[1].id);
    EXPECT_NE(doc().pointLights()[0].position, doc().pointLights()[1].position);
    EXPECT_EQ(scene.pointLights(), doc().pointLights());

    doc().updateSelectedPointLight(Float3{100, -100, 50}, 7.0f);
    doc().updateSelectedPointLight(std::nullopt, 0.5f);
    EXPECT_EQ(doc().selectedPointLight()->position, (Float3{100, -100, 50})) << "kept";
    doc().centerSelectedPointLight();
    EXPECT_EQ(doc().selectedPointLight()->position, scene.defaultPointLightPosition());
    doc().moveSelectedPointLightToCamera();
    EXPECT_EQ(doc().selectedPointLight()->position, doc().viewport().cameraModelPosition());
    doc().removeSelectedPointLight();
    EXPECT_EQ(doc().selectedPointLightIndex(), 0);
}

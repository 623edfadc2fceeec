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

TEST_F(DocumentModelTest, distanceRangeOfAMetreCubeEndsAtTen) {
    doc().set(boxBetween(0, 1));
    auto range = doc().cameraDistanceRange();
    EXPECT_DOUBLE_EQ(range.lower, 0.1);
    EXPECT_DOUBLE_EQ(range.upper, 10);
    doc().set(boxBetween(0, 100));
    EXPECT_NEAR(doc().cameraDistanceRange().upper, 2 * std::sqrt(2.0 + 100 * 100), 1e-3);
}

TEST_F(DocumentModelTest, pointLightRangeWithoutModelIsCentredOnTheOrigin) {
    double margin = 1.1 * std::sqrt(300.0);
    auto range = doc().pointLightCoordinateRange();
    EXPECT_NEAR(range.lower, -margin, 1e-4);
    EXPECT_NEAR(range.upper, margin, 1e-4);
}

TEST_F(DocumentModelTest, pointLightRangeSpansTheCentreCoordinatesPlusTheMargin) {
    present(test::groupedModel());
    auto b = doc().scene()->visibleBounds();
    Float3 c = (b.min + b.max) * 0.5f;
    double margin = std::max(1.1 * double(length(b.max - b.min)), 2.0);
    auto range = doc().pointLightCoordinateRange();
    EXPECT_NEAR(range.lower, std::min({c.x, c.y, c.z}) - margin, 1e-4);
    EXPECT_NEAR(range.upper, std::max({c.x, c.y, c.z}) + margin, 1e-4);
}

TEST_F(DocumentModelTest, eyeHeightStandsOnTheGroundOrOnAFloatingModel) {
    struct Case {
        float low, high, expectedZ;
    };
    for (auto c : {Case{-0.1f, 3, 1.6f}, Case{2, 5, 3.6f}, Case{0, 1, 1.6f}}) {
        model.reset();
        doc().set(boxBetween(c.low, c.high));
        doc().setCameraEyeHeight(1.6f);
        EXPECT_NEAR(doc().viewport().cameraModelPosition().z, c.expectedZ, 1e-4)
            << c.low << " to " << c.high;
        EXPECT_NEAR(doc().cameraPitch(), 0, 1e-4);
    }
}

TEST_F(DocumentModelTest, eyeHeightKeepsTheHeading) {
    present(boxBetween(0, 3));
    doc().viewport().setCameraPose(Float3{5, 5, 9}, 40.0f, -30.0f, std::nullopt);
    doc().setCameraEyeHeight(1.6f);
    EXPECT_NEAR(doc().cameraYaw(), 40, 1e-3);
    EXPECT_NEAR(doc().cameraPitch(), 0, 1e-3);
    EXPECT_NEAR(doc().cameraPosition().z, 1.6f, 1e-4);
    EXPECT_NEAR(doc().cameraPosition().x, 5, 1e-4);
}

TEST_F(DocumentModelTest, centreCameraNeedsAModel) {
    Float3 before = doc().viewport().cameraModelPosition();
    doc().centerCameraInModel();
    EXPECT_EQ(doc().viewport().cameraModelPosition(), before);
    doc().set(boxBetween(0, 4));
    doc().centerCameraInModel();
    EXPECT_EQ(doc().viewport().cameraModelPosition(), (Float3{0.5f, 0.5f, 2}));
}

TEST_F(DocumentModelTest, focalLengthIsClampedToTheFieldOfViewLimits) {
    present(SyntheticModel::cube());
    doc().setCameraFocalLength(1);
    EXPECT_FLOAT_EQ(doc().cameraFOV(), 120);
    doc().setCameraFocalLength(5000);
    EXPECT_FLOAT_EQ(doc().cameraFOV(), 10);
    doc().setCameraFocalLength(50);
    EXPECT_NEAR(doc().cameraFOV(), viewport::ViewportView::verticalFOVDegrees(50), 1e-4);
    EXPECT_NEAR(doc().viewport().fieldOfView(), doc().cameraFOV(), 1e-4);
}

TEST_F(DocumentModelTest, perspectiveIsPersistedAndReachesTheViewport) {
    present(SyntheticModel::cube());
    doc().setPerspective(false);
    EXPECT_FALSE(doc().isPerspective());
    EXPECT_FALSE(doc().viewport().isPerspective());
    EXPECT_FALSE(Preferences::boolValue("isPerspective"));
    doc().resetView();
    EXPECT_EQ(doc().isPerspective(), doc().viewport().isPerspective());
}

TEST_F(DocumentModelTest, resetViewWhileLoadingDoesNothing) {
    doc().set(SyntheticModel::cube());
    int writes = 0;
    QObject::connect(&doc(), &DocumentModel::isPerspectiveChanged, [&] { ++writes; });
    doc().resetView();
    EXPECT_EQ(writes, 0);
}

TEST_F(DocumentModelTest, togglesArePersistedAndPushed) {
    auto& scene = present(SyntheticModel::cube());
    doc().toggleGrid();
    doc().toggleShadows();
    doc().toggleEdges();
    doc().toggleSidebar();
    EXPECT_TRUE(scene.showsGrid());
    EXPECT_FALSE(scene.shadowsEnabled());
    EXPECT_FALSE(scene.showsEdges());
    EXPECT_TRUE(Preferences::boolValue("showsGrid"));
    EXPECT_FALSE(Preferences::boolValue("shadowsEnabled"));
    EXPECT_FALSE(Preferences::boolValue("showsEdges"));
    EXPECT_EQ(Preferences::boolValue("showSidebar"), doc().showSidebar());
    SettingsStore reread(store.path());
    EXPECT_EQ(reread.value("showsGrid"), nlohmann::json(true));
}

TEST_F(DocumentModelTest, wireframeTurnsEdgesOnInTheFieldOnly) {
    Preferences::setBool("showsEdges", false);
    auto& scene = present(SyntheticModel::cube());
    doc().setShadingStyle(ShadingStyle::wireframe);
    EXPECT_TRUE(doc().showsEdges());
    EXPECT_FALSE(scene.showsEdges());
    EXPECT_FALSE(Preferences::boolValue("showsEdges"));
    EXPECT_EQ(scene.shadingStyle(), ShadingStyle::wireframe);
}

TEST_F(DocumentModelTest, customBackdropColourIsClampedAndSelectsItsStyle) {
    auto& scene = present(SyntheticModel::cube());
    doc().setCustomBackdropColor({1.5f, -1, 0.5f});
    EXPECT_EQ(doc().customBackdropColor(), (Float3{1, 0, 0.5f}));
    EXPECT_EQ(doc().backdropStyle(), BackdropStyle::customColor);
    EXPECT_EQ(scene.backdropStyle(), BackdropStyle::customColor);
    EXPECT_EQ(Preferences::backdropStyleRaw(), "customColor");
    EXPECT_EQ(Preferences::customBackdropColor(), (Float3{1, 0, 0.5f}));
    doc().setBackdropStyle(BackdropStyle::warmPaper);
    EXPECT_EQ(Preferences::backdropStyleRaw(), "warmPaper");
    EXPECT_EQ(scene.backdropStyle(), BackdropStyle::warmPaper);
}

TEST_F(DocumentModelTest, ambientOcclusionFollowsItsIntensityAndNeverSwitchesOnInvisible) {
    present(SyntheticModel::cube());
    doc().setAmbientOcclusionIntensity(1.2f);
    EXPECT_TRUE(doc().ambientOcclusionEnabled());
    EXPECT_TRUE(Preferences::boolValue("ambientOcclusionEnabled"));
    doc().setAmbientOcclusionIntensity(0);
    EXPECT_FALSE(doc().ambientOcclusionEnabled());
    EXPECT_FALSE(doc().viewport().ambientOcclusionEnabled());
    EXPECT_FLOAT_EQ(Preferences::ambientOcclusionIntensity(), 0);
    doc().toggleAmbientOcclusion();
    EXPECT_TRUE(doc().ambientOcclusionEnabled());
    EXPECT_FLOAT_EQ(doc().ambientOcclusionIntensity(), 0.7f);
    EXPECT_FLOAT_EQ(Preferences::ambientOcclusionIntensity(), 0.7f);
    EXPECT_NEAR(doc().viewport().ambientOcclusionIntensity(), 0.7, 1e-6);
    doc().setAmbientOcclusionIntensity(9);
    EXPECT_FLOAT_EQ(doc().ambientOcclusionIntensity(), 2);
}

TEST_F(DocumentModelTest, sunAndAmbientIntensitiesHaveDifferentCeilings) {
    auto& scene = present(SyntheticModel::cube());
    doc().setSunIntensity(5);
    doc().setAmbientIntensity(5);
    EXPECT_FLOAT_EQ(doc().sunIntensity(), 3);
    EXPECT_FLOAT_EQ(doc().ambientIntensity(), 2);
    EXPECT_FLOAT_EQ(scene.sunIntensity(), 3);
    doc().setSunIntensity(-1);
    EXPECT_FLOAT_EQ(doc().sunIntensity(), 0);
    doc().setSun(400, -100);
    EXPECT_FLOAT_EQ(doc().sunAzimuthDegrees(), 400);
    doc().resetSun();
    EXPECT_FLOAT_EQ(doc().sunAzimuthDegrees(), -135);
    EXPECT_FLOAT_EQ(doc().sunElevationDegrees(), 45);
    EXPECT_FLOAT_EQ(doc().sunIntensity(), 1);
    EXPECT_FLOAT_EQ(scene.ambientIntensity(), 1);
    EXPECT_FLOAT_EQ(scene.sunElevationDegrees(), 45);
}

TEST_F(DocumentModelTest, pointModeMakesAFirstLightAtTheModelCentre) {
    test::ScopedLanguage english(AppLanguage::en);
    doc().set(boxBetween(0, 2));
    doc().setLightingMode(LightingMode::point);
    ASSERT_EQ(doc().pointLights().size(), 1u);
    EXPECT_EQ(doc().pointLights()[0].name, "Light 1");
    EXPECT_EQ(doc().pointLights()[0].position, (Float3{0.5f, 0.5f, 1}));
    EXPECT_EQ(doc().selectedPointLightIndex(), 0);
    doc().setLightingMode(LightingMode::sun);
    doc().setLightingMode(LightingMode::point);
    EXPECT_EQ(doc().pointLights().size(), 1u);
}

TEST_F(DocumentModelTest, addingALightInSunModeSwitchesToPointWithItSelected) {
    test::ScopedLanguage french(AppLanguage::fr);
    auto& scene = present(SyntheticModel::cube());
    doc().addPointLight();
    doc().setLightingMode(LightingMode::sun);
    doc().addPointLight();
    EXPECT_EQ(doc().lightingMode(), LightingMode::point);
    EXPECT_EQ(scene.lightingMode(), LightingMode::point);
    ASSERT_EQ(doc().pointLights().size(), 2u);
    EXPECT_EQ(doc().selectedPointLightIndex(), 1);
    EXPECT_EQ(doc().pointLights()[1].name, "Lumière 2");
    EXPECT_NE(doc().pointLights()[0].id, doc().pointLights()[1].id);
    Float3 a = doc().pointLights()[0].position, b = doc().pointLights()[1].position;
    EXPECT_NEAR(b.x - a.x, 0.25f, 1e-5);
    EXPECT_NEAR(b.y - a.y, 0.25f, 1e-5);
    EXPECT_EQ(b.z, a.z);
    EXPECT_EQ(scene.pointLights(), doc().pointLights());
}

TEST_F(DocumentModelTest, theLastLightCannotBeRemoved) {
    doc().addPointLight();
    doc().removeSelectedPointLight();
    EXPECT_EQ(doc().pointLights().size(), 1u);
    doc().addPointLight();
    doc().addPointLight();
    doc().removeSelectedPointLight();
    EXPECT_EQ(doc().pointLights().size(), 2u);
    EXPECT_EQ(doc().selectedPointLightIndex(), 1);
}

TEST_F(DocumentModelTest, selectedLightUpdatesClampIntensityButNotPosition) {
    present(SyntheticModel::cube());
    doc().addPointLight();
    doc().updateSelectedPointLight(Float3{100, -100, 50}, 7.0f);
    ASSERT_TRUE(doc().selectedPointLight());
    EXPECT_EQ(doc().selectedPointLight()->position, (Float3{100, -100, 50}));
    EXPECT_FLOAT_EQ(doc().selectedPointLight()->intensity, 3);
    doc().updateSelectedPointLight(std::nullopt, 0.5f);
    EXPECT_EQ(doc().selectedPointLight()->position, (Float3{100, -100, 50}));
    doc().centerSelectedPointLight();
    EXPECT_EQ(doc().selectedPointLight()->position, doc().scene()->defaultPointLightPosition());
    doc().moveSelectedPointLightToCamera();
    EXPECT_EQ(doc().selectedPointLight()->position, doc().viewport().cameraModelPosition());
    doc().togglePointLightGizmo();
    EXPECT_FALSE(doc().scene()->showsPointLightGizmo());
}

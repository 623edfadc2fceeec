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

TEST_F(DocumentModelTest, rangesFollowTheModelAndCentreOnTheOriginWithoutOne) {
    const double margin = 1.1 * std::sqrt(300.0);
    EXPECT_NEAR(doc().pointLightCoordinateRange().lower, -margin, 1e-4);
    EXPECT_NEAR(doc().pointLightCoordinateRange().upper, margin, 1e-4);
    doc().set(boxBetween(0, 1));
    EXPECT_DOUBLE_EQ(doc().cameraDistanceRange().lower, 0.1);
    EXPECT_DOUBLE_EQ(doc().cameraDistanceRange().upper, 10);
    doc().set(boxBetween(0, 100));
    EXPECT_NEAR(doc().cameraDistanceRange().upper, 2 * std::sqrt(2.0 + 100 * 100), 1e-3);

    present(test::groupedModel());
    auto b = doc().scene()->visibleBounds();
    Float3 c = (b.min + b.max) * 0.5f;
    double m = std::max(1.1 * double(length(b.max - b.min)), 2.0);
    EXPECT_NEAR(doc().pointLightCoordinateRange().lower, std::min({c.x, c.y, c.z}) - m, 1e-4);
    EXPECT_NEAR(doc().pointLightCoordinateRange().upper, std::max({c.x, c.y, c.z}) + m, 1e-4);
}

TEST_F(DocumentModelTest, eyeHeightStandsOnTheGroundOrAFloatingModelAndKeepsTheHeading) {
    struct Case {
        float low, high, expectedZ;
    };
    for (auto c : {Case{-0.1f, 3, 1.6f}, Case{2, 5, 3.6f}, Case{0, 1, 1.6f}}) {
        model.reset();
        doc().set(boxBetween(c.low, c.high));
        doc().setCameraEyeHeight(1.6f);
        EXPECT_NEAR(doc().viewport().cameraModelPosition().z, c.expectedZ, 1e-4)
            << c.low << " to " << c.high;
    }
    present(boxBetween(0, 3));
    doc().viewport().setCameraPose(Float3{5, 5, 9}, 40.0f, -30.0f, std::nullopt);
    doc().setCameraEyeHeight(1.6f);
    EXPECT_NEAR(doc().cameraPosition().x, 5, 1e-4);
    EXPECT_NEAR(doc().cameraYaw(), 40, 1e-3);
    EXPECT_NEAR(doc().cameraPitch(), 0, 1e-3);
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
    for (auto [focal, fov] : {std::pair{1.0f, 120.0f},
                              {5000.0f, 10.0f},
                              {50.0f, viewport::ViewportView::verticalFOVDegrees(50)}}) {
        doc().setCameraFocalLength(focal);
        EXPECT_NEAR(doc().cameraFOV(), fov, 1e-4) << focal;
        EXPECT_NEAR(doc().viewport().fieldOfView(), fov, 1e-4);
    }
    doc().setPerspective(false);
    EXPECT_FALSE(doc().viewport().isPerspective());
    EXPECT_FALSE(Preferences::boolValue("isPerspective"));
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
    EXPECT_TRUE(scene.showsGrid());
    EXPECT_FALSE(scene.shadowsEnabled());
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
    struct Case {
        void (DocumentModel::*set)(float);
        float value;
        float (DocumentModel::*get)() const;
        float expected;
    } cases[] = {
        {&DocumentModel::setSunIntensity, 5, &DocumentModel::sunIntensity, 3},
        {&DocumentModel::setSunIntensity, -1, &DocumentModel::sunIntensity, 0},
        {&DocumentModel::setAmbientIntensity, 5, &DocumentModel::ambientIntensity, 2},
        {&DocumentModel::setAmbientOcclusionIntensity, 9, &DocumentModel::ambientOcclusionIntensity,
         2},
    };
    for (const Case& c : cases) {
        (doc().*c.set)(c.value);
        EXPECT_FLOAT_EQ((doc().*c.get)(), c.expected) << c.value;
    }
    EXPECT_FLOAT_EQ(scene.ambientIntensity(), 2);
    doc().setSun(400, -100);
    doc().resetSun();
    EXPECT_FLOAT_EQ(scene.sunAzimuthDegrees(), -135);
    EXPECT_FLOAT_EQ(scene.sunElevationDegrees(), 45);
    EXPECT_FLOAT_EQ(scene.sunIntensity(), 1);

    // Occlusion follows its intensity and never switches on invisible.
    doc().setAmbientOcclusionIntensity(0);
    EXPECT_FALSE(doc().viewport().ambientOcclusionEnabled());
    EXPECT_FLOAT_EQ(Preferences::ambientOcclusionIntensity(), 0);
    doc().toggleAmbientOcclusion();
    EXPECT_TRUE(Preferences::boolValue("ambientOcclusionEnabled"));
    EXPECT_FLOAT_EQ(Preferences::ambientOcclusionIntensity(), 0.7f);
    EXPECT_NEAR(doc().viewport().ambientOcclusionIntensity(), 0.7, 1e-6);
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
    const Float3 a = doc().pointLights()[0].position, b = doc().pointLights()[1].position;
    EXPECT_EQ(b - a, (Float3{0.25f, 0.25f, 0}));
    EXPECT_EQ(scene.pointLights(), doc().pointLights());

    doc().updateSelectedPointLight(Float3{100, -100, 50}, 7.0f);
    EXPECT_EQ(doc().selectedPointLight()->position, (Float3{100, -100, 50}));
    EXPECT_FLOAT_EQ(doc().selectedPointLight()->intensity, 3);
    doc().updateSelectedPointLight(std::nullopt, 0.5f);
    EXPECT_EQ(doc().selectedPointLight()->position, (Float3{100, -100, 50}));
    doc().centerSelectedPointLight();
    EXPECT_EQ(doc().selectedPointLight()->position, scene.defaultPointLightPosition());
    doc().moveSelectedPointLightToCamera();
    EXPECT_EQ(doc().selectedPointLight()->position, doc().viewport().cameraModelPosition());
    doc().removeSelectedPointLight();
    EXPECT_EQ(doc().selectedPointLightIndex(), 0);
    doc().togglePointLightGizmo();
    EXPECT_FALSE(scene.showsPointLightGizmo());
}

#include "documents/DocumentModel.h"

#include <gtest/gtest.h>

#include "DocumentModelFixture.h"
#include "ScopedLanguage.h"
#include "documents/Format.h"

using namespace vistrel;
using namespace vistrel::app;
using vistrel::test::DocumentModelTest;

namespace {

SKPModel modelWithLayers(int count) {
    std::vector<Layer> layers;
    for (int i = 0; i < count; ++i)
        layers.push_back({"Calque " + std::to_string(i), true, "Dossier"});
    return SKPModel(Definition{}, {}, {}, std::move(layers), {}, std::nullopt, {0, 0, 0}, {1, 1, 1},
                    Stats{}, SKPFileInfo{}, std::nullopt, std::nullopt);
}

SKPModel linesOnlyModel() {
    Definition root;
    root.edges.push_back({0, {{0, 0, 0}, {1, 0, 0}}});
    return SKPModel(std::move(root), {}, {}, {{"0", true, std::nullopt}}, {}, std::nullopt,
                    {0, 0, 0}, {1, 0, 0}, Stats{0, 0, 1, 0, 0, 0}, SKPFileInfo{}, std::nullopt,
                    std::nullopt);
}

}  // namespace

TEST_F(DocumentModelTest, newDocumentReadsItsSettingsFromPreferences) {
    Preferences::setBool("showsEdges", false);
    Preferences::setBool("showsGrid", true);
    Preferences::setAmbientOcclusionIntensity(1.25f);
    Preferences::setBackdropStyleRaw("studioDark");
    Preferences::setCustomBackdropColor({0.5f, 0.25f, 1});
    EXPECT_FALSE(doc().showsEdges());
    EXPECT_TRUE(doc().showsGrid());
    EXPECT_FLOAT_EQ(doc().ambientOcclusionIntensity(), 1.25f);
    EXPECT_EQ(doc().backdropStyle(), viewport::BackdropStyle::studioDark);
    EXPECT_EQ(doc().customBackdropColor(), (Float3{0.5f, 0.25f, 1}));
    EXPECT_TRUE(std::holds_alternative<DocumentModel::Loading>(doc().state()));
    EXPECT_EQ(doc().skp(), nullptr);
    EXPECT_FALSE(doc().showSidebar());
    EXPECT_FLOAT_EQ(doc().cameraFOV(), 35);
    EXPECT_FLOAT_EQ(doc().cameraExposure(), -0.62f);
    EXPECT_EQ(doc().viewport().size(), (Float2{800, 600}));
}

TEST_F(DocumentModelTest, unknownStoredBackdropFallsBackToArchitecturalSky) {
    Preferences::setBackdropStyleRaw("neon");
    EXPECT_EQ(doc().backdropStyle(), viewport::BackdropStyle::architecturalSky);
}

TEST_F(DocumentModelTest, everyWriteNotifiesEvenWithAnUnchangedValue) {
    int layerWrites = 0, filterWrites = 0;
    doc().set(SyntheticModel::cube());
    QObject::connect(&doc(), &DocumentModel::layerVisibleChanged, [&] { ++layerWrites; });
    QObject::connect(&doc(), &DocumentModel::layerFilterChanged, [&] { ++filterWrites; });
    doc().setAllLayers(true);
    doc().setAllLayers(true);
    doc().setLayerFilter("");
    EXPECT_EQ(layerWrites, 2);
    EXPECT_EQ(filterWrites, 1);
}

TEST_F(DocumentModelTest, modelOpensGroupsOnlyUpTo32Layers) {
    doc().set(modelWithLayers(32));
    EXPECT_EQ(doc().expandedLayerGroups().size(), 1u);
    doc().set(modelWithLayers(33));
    EXPECT_TRUE(doc().expandedLayerGroups().empty());
}

TEST_F(DocumentModelTest, sidebarOpensOnlyWithSomethingToShowAndThePreferenceOn) {
    doc().set(modelWithLayers(1));
    EXPECT_FALSE(doc().showSidebar());
    doc().set(SyntheticModel::cube());
    EXPECT_TRUE(doc().showSidebar());
    Preferences::setBool("showSidebar", false);
    doc().set(SyntheticModel::cube());
    EXPECT_FALSE(doc().showSidebar());
}

TEST_F(DocumentModelTest, presentPushesEarlierCommandsIntoTheScene) {
    doc().toggleGrid();
    doc().setSunIntensity(2);
    doc().setShadingStyle(viewport::ShadingStyle::clay);
    doc().setSun(10, 20);
    doc().toggleShadows();
    auto& scene = present(SyntheticModel::cube());
    ASSERT_TRUE(std::holds_alternative<DocumentModel::Ready>(doc().state()));
    EXPECT_EQ(doc().scene(), &scene);
    EXPECT_EQ(doc().viewport().viewportScene().get(), &scene);
    EXPECT_TRUE(scene.showsGrid());
    EXPECT_FALSE(scene.shadowsEnabled());
    EXPECT_FLOAT_EQ(scene.sunIntensity(), 2);
    EXPECT_FLOAT_EQ(scene.sunAzimuthDegrees(), 10);
    EXPECT_FLOAT_EQ(scene.sunElevationDegrees(), 20);
    EXPECT_EQ(scene.shadingStyle(), viewport::ShadingStyle::clay);
    EXPECT_EQ(doc().loadSeconds(), 1.5);
    ASSERT_TRUE(doc().visibleSize());
    EXPECT_FLOAT_EQ(doc().visibleSize()->x, 2.5f);
    EXPECT_EQ(doc().skp(), &scene.model());
    // The cube has a camera of its own: no standard view, and the camera fields follow it.
    EXPECT_FALSE(doc().activeStandardView());
    EXPECT_NEAR(doc().cameraPosition().x, doc().viewport().cameraModelPosition().x, 1e-4);
}

TEST_F(DocumentModelTest, modelWithoutCameraOpensInTheIsoViewInTheStoredProjection) {
    Preferences::setBool("isPerspective", false);
    present(test::groupedModel());
    EXPECT_EQ(doc().activeStandardView(), viewport::StandardView::iso);
    EXPECT_FALSE(doc().isPerspective());
    EXPECT_FALSE(doc().viewport().isPerspective());
}

TEST_F(DocumentModelTest, drawingOfLinesShowsEdgesWithoutTouchingThePreference) {
    Preferences::setBool("showsEdges", false);
    auto& scene = present(linesOnlyModel());
    EXPECT_TRUE(doc().showsEdges());
    EXPECT_TRUE(scene.showsEdges());
    EXPECT_FALSE(Preferences::boolValue("showsEdges"));
}

TEST_F(DocumentModelTest, modelWithFacesKeepsThePreferredEdgeSetting) {
    Preferences::setBool("showsEdges", false);
    auto& scene = present(SyntheticModel::cube());
    EXPECT_FALSE(doc().showsEdges());
    EXPECT_FALSE(scene.showsEdges());
}

TEST_F(DocumentModelTest, failedDocumentHasNoVisibleSizeAndShowsItsError) {
    doc().setState(DocumentModel::Failed{"Fichier illisible"});
    EXPECT_FALSE(doc().visibleSize());
    EXPECT_EQ(doc().statusText(), "Fichier illisible");
}

TEST_F(DocumentModelTest, statusTextOfAReadyModelInBothLanguages) {
    present(SyntheticModel::cube());
    {
        test::ScopedLanguage english(AppLanguage::en);
        EXPECT_EQ(doc().statusText(),
                  "SketchUp 2023 · 12 faces · 24 edges · 2 components · 2.5 × 1.0 × 1.0 m");
    }
    {
        test::ScopedLanguage french(AppLanguage::fr);
        EXPECT_EQ(doc().statusText(),
                  "SketchUp 2023 · 12 faces · 24 arêtes · 2 composants · 2,5 × 1,0 × 1,0 m");
    }
}

TEST_F(DocumentModelTest, statusTextPrefersTheHeaderLabelAndDropsAMissingOne) {
    test::ScopedLanguage english(AppLanguage::en);
    doc().set(test::groupedModel());
    EXPECT_EQ(doc().statusText(), "36 faces · 0 edges · 0 components · 7.0 × 1.0 × 1.0 m");
    SKPFileInfo info;
    info.versionLabel = "SketchUp 2024";
    doc().setInfo(info);
    EXPECT_EQ(doc().statusText().rfind("SketchUp 2024 · 36 faces", 0), 0u);
}

TEST_F(DocumentModelTest, statusTextWhileLoadingShowsTheProgress) {
    {
        test::ScopedLanguage english(AppLanguage::en);
        EXPECT_EQ(doc().statusText(), "Loading…");
        doc().setState(DocumentModel::Loading{SKPReader::Progress{"Reading", 1234, 0.5}});
        EXPECT_EQ(doc().statusText(), "Loading… Reading · 1,234 faces");
    }
    test::ScopedLanguage french(AppLanguage::fr);
    doc().setState(DocumentModel::Loading{SKPReader::Progress{"Lecture", 1, std::nullopt}});
    EXPECT_EQ(doc().statusText(), "Chargement… Lecture · 1 face");
}

TEST_F(DocumentModelTest, freeFlyingFromTheViewportShowsInTheStatus) {
    test::ScopedLanguage english(AppLanguage::en);
    present(SyntheticModel::cube());
    doc().viewport().setFreeFlying(true);
    EXPECT_TRUE(doc().isFreeFlying());
    EXPECT_EQ(doc().statusText(), "Free fly — Esc to exit");
    doc().viewport().setFreeFlying(false);
    EXPECT_FALSE(doc().isFreeFlying());
}

TEST_F(DocumentModelTest, cameraMovesReachTheFieldsAndTheFeedback) {
    present(SyntheticModel::cube());
    int feedbacks = 0;
    doc().onCameraFeedback = [&](DocumentModel& m) {
        EXPECT_EQ(&m, &doc());
        ++feedbacks;
    };
    doc().viewport().setCameraPose(Float3{1, 2, 3}, 90.0f, -10.0f, 4.0f);
    EXPECT_GT(feedbacks, 0);
    EXPECT_EQ(doc().cameraPosition(), (Float3{1, 2, 3}));
    EXPECT_NEAR(doc().cameraYaw(), 90, 1e-3);
    EXPECT_NEAR(doc().cameraPitch(), -10, 1e-3);
    EXPECT_NEAR(doc().cameraDistance(), 4, 1e-4);
}

TEST_F(DocumentModelTest, computedValuesFollowTheFields) {
    EXPECT_FALSE(doc().isCAD());
    doc().set(test::groupedModel());
    EXPECT_FALSE(doc().isCAD());
    EXPECT_EQ(doc().visibleLayerCount(), 4);
    doc().toggleLayer(2);
    EXPECT_EQ(doc().visibleLayerCount(), 3);
    doc().setHoveredLayer(1);
    EXPECT_EQ(doc().hoveredLayerName(), "Mur sud");
    EXPECT_FALSE(doc().selectedPointLight());
    SKPFileInfo dxf;
    dxf.url = "/tmp/plan.dxf";
    dxf.version = "AC1032";
    doc().setInfo(dxf);
    // A model that does not say CAD defers to the header.
    EXPECT_TRUE(doc().isCAD());
}

TEST_F(DocumentModelTest, viewportClicksHoversAndResetsReachTheDocument) {
    present(test::groupedModel());
    ASSERT_TRUE(doc().activeStandardView());
    doc().viewport().onHoverLayer(2);
    EXPECT_EQ(doc().hoveredLayerIndex(), 2);
    doc().viewport().onSelectLayer(1);
    EXPECT_EQ(doc().selectedLayerIndex(), 1);
    EXPECT_EQ(doc().scrollToLayerTrigger(), 1);
    doc().viewport().onResetView(false);
    EXPECT_FALSE(doc().isPerspective());
    EXPECT_FALSE(doc().activeStandardView());
}

TEST_F(DocumentModelTest, layerVisibilityStartsFromTheModel) {
    auto m = modelWithLayers(3);
    m.layers[1].isVisible = false;
    doc().set(std::move(m));
    EXPECT_EQ(doc().layerVisible(), (std::vector<bool>{true, false, true}));
    EXPECT_EQ(doc().visibleLayerCount(), 2);
}

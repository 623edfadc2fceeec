#include <gtest/gtest.h>

#include "DocumentModelFixture.h"
#include "EventLoop.h"

using namespace vistrel;
using namespace vistrel::app;
using vistrel::test::DocumentModelTest;

namespace {

const LayerGroup& groupNamed(const SKPModel& model, const std::string& name) {
    for (const auto& g : model.layerGroups())
        if (g.name == name) return g;
    throw std::runtime_error("no group " + name);
}

Camera orthoCamera() {
    return Camera{{20, -20, 10}, {0, 0, 0}, {0, 0, 1}, false, 35, 8};
}

std::vector<Scene> threeScenes() {
    return {Scene{"Plan", orthoCamera(), std::vector<int>{1, 2}},
            Scene{"Sans caméra", std::nullopt, std::nullopt},
            Scene{"Tout", std::nullopt, std::vector<int>{}}};
}

using Visibility = std::vector<bool>;

}  // namespace

TEST_F(DocumentModelTest, commandsOnIndicesOutOfRangeDoNothing) {
    present(test::groupedModel(threeScenes()));
    int writes = 0;
    QObject::connect(&doc(), &DocumentModel::layerVisibleChanged, [&] { ++writes; });
    for (int bad : {-1, 4, 99}) {
        doc().toggleLayer(bad);
        doc().soloLayer(bad);
        doc().selectLayer(bad);
        doc().selectLayerFromViewport(bad);
        doc().zoomToLayer(bad, false);
    }
    doc().selectScene(3);
    doc().selectScene(-1);
    EXPECT_EQ(writes, 0);
    EXPECT_EQ(doc().layerVisible(), Visibility(4, true));
    EXPECT_FALSE(doc().selectedScene());
    EXPECT_FALSE(doc().selectedLayerIndex());
    EXPECT_EQ(doc().scrollToLayerTrigger(), 0);
}

TEST_F(DocumentModelTest, commandsWithoutAModelDoNothing) {
    doc().selectScene(0);
    doc().nextScene();
    doc().previousScene();
    doc().setAllLayers(false);
    doc().selectLayer(0);
    doc().setHoveredLayer(0);
    EXPECT_FALSE(doc().selectedScene());
    EXPECT_TRUE(doc().layerVisible().empty());
    EXPECT_FALSE(doc().hoveredLayerIndex());
}

TEST_F(DocumentModelTest, toggledLayerIsHiddenInTheSceneAndShrinksTheVisibleSize) {
    auto& scene = present(test::groupedModel());
    doc().toggleLayer(2);
    EXPECT_EQ(doc().layerVisible(), (Visibility{true, true, false, true}));
    EXPECT_EQ(scene.hiddenLayers(), (std::set<int>{2}));
    ASSERT_TRUE(doc().visibleSize());
    EXPECT_FLOAT_EQ(doc().visibleSize()->x, 4);
    EXPECT_GT(redraws, 0);
    doc().toggleLayer(2);
    EXPECT_TRUE(scene.hiddenLayers().empty());
}

TEST_F(DocumentModelTest, layerCommandsBeforeTheSceneArrivesAreKeptForIt) {
    doc().set(test::groupedModel());
    doc().toggleLayer(0);
    doc().toggleLayer(0);
    doc().toggleLayer(1);
    EXPECT_EQ(doc().layerVisible(), (Visibility{true, false, true, true}));
    EXPECT_FALSE(doc().visibleSize());
}

TEST_F(DocumentModelTest, selectingASceneAppliesItsCameraAndHiddenLayers) {
    auto& scene = present(test::groupedModel(threeScenes()));
    ASSERT_TRUE(doc().isPerspective());
    doc().selectScene(0, false);
    EXPECT_EQ(doc().selectedScene(), 0);
    EXPECT_EQ(doc().layerVisible(), (Visibility{true, false, false, true}));
    EXPECT_EQ(scene.hiddenLayers(), (std::set<int>{1, 2}));
    EXPECT_FALSE(doc().isPerspective());
    EXPECT_FALSE(doc().activeStandardView());
    ASSERT_TRUE(doc().viewport().rig().glide());
    EXPECT_FLOAT_EQ(doc().viewport().rig().glide()->duration, 0.35f);
    settle();
    Float3 eye = doc().viewport().cameraModelPosition();
    EXPECT_NEAR(eye.x, 20, 1e-3);
    EXPECT_NEAR(eye.z, 10, 1e-3);
    EXPECT_NEAR(doc().cameraPosition().x, 20, 1e-3);
}

TEST_F(DocumentModelTest, sceneWithoutCameraKeepsTheViewAndWithoutLayersKeepsVisibility) {
    present(test::groupedModel(threeScenes()));
    doc().toggleLayer(3);
    Float3 before = doc().viewport().cameraModelPosition();
    doc().selectScene(1, false);
    EXPECT_EQ(doc().selectedScene(), 1);
    EXPECT_EQ(doc().layerVisible(), (Visibility{true, true, true, false}));
    EXPECT_FALSE(doc().viewport().rig().glide());
    EXPECT_EQ(doc().viewport().cameraModelPosition(), before);
    // An empty list of hidden layers shows every layer.
    doc().selectScene(2, false);
    EXPECT_EQ(doc().layerVisible(), Visibility(4, true));
}

TEST_F(DocumentModelTest, shiftOrSlowSelectsTheLongTransition) {
    present(test::groupedModel(threeScenes()));
    shiftHeld = true;
    doc().selectScene(0);
    ASSERT_TRUE(doc().viewport().rig().glide());
    EXPECT_FLOAT_EQ(doc().viewport().rig().glide()->duration, 3.5f);
    settle();
    doc().selectScene(0, false);
    ASSERT_TRUE(doc().viewport().rig().glide());
    EXPECT_FLOAT_EQ(doc().viewport().rig().glide()->duration, 0.35f);
}

TEST_F(DocumentModelTest, nextAndPreviousSceneWrapAndStartFromTheEnds) {
    doc().set(test::groupedModel(threeScenes()));
    doc().nextScene(false);
    EXPECT_EQ(doc().selectedScene(), 0);
    // While loading, the scene's layers are applied to the document alone.
    EXPECT_EQ(doc().layerVisible(), (Visibility{true, false, false, true}));
    doc().nextScene(false);
    doc().nextScene(false);
    doc().nextScene(false);
    EXPECT_EQ(doc().selectedScene(), 0);
    doc().previousScene(false);
    EXPECT_EQ(doc().selectedScene(), 2);
}

TEST_F(DocumentModelTest, previousSceneWithoutSelectionLandsOnTheLast) {
    doc().set(test::groupedModel(threeScenes()));
    doc().previousScene(false);
    EXPECT_EQ(doc().selectedScene(), 2);
}

TEST_F(DocumentModelTest, nextSceneWithOneSceneReplaysItsCamera) {
    present(SyntheticModel::cube());
    doc().nextScene(false);
    settle();
    doc().viewport().setCameraPose(Float3{9, 9, 9}, std::nullopt, std::nullopt, std::nullopt);
    doc().nextScene(false);
    EXPECT_EQ(doc().selectedScene(), 0);
    settle();
    EXPECT_NEAR(doc().viewport().cameraModelPosition().x, 4.5f, 1e-3);
}

TEST_F(DocumentModelTest, soloIsAToggleBetweenOneLayerAndAll) {
    auto& scene = present(test::groupedModel());
    doc().soloLayer(1);
    EXPECT_EQ(doc().layerVisible(), (Visibility{false, true, false, false}));
    EXPECT_EQ(scene.hiddenLayers(), (std::set<int>{0, 2, 3}));
    doc().soloLayer(2);
    EXPECT_EQ(doc().layerVisible(), (Visibility{false, false, true, false}));
    doc().soloLayer(2);
    EXPECT_EQ(doc().layerVisible(), Visibility(4, true));
    EXPECT_TRUE(scene.hiddenLayers().empty());
}

TEST_F(DocumentModelTest, soloOnTheOnlyVisibleLayerShowsAll) {
    doc().set(test::groupedModel());
    doc().setAllLayers(false);
    doc().toggleLayer(3);
    doc().soloLayer(3);
    EXPECT_EQ(doc().layerVisible(), Visibility(4, true));
}

TEST_F(DocumentModelTest, clickInTheViewportRevealsTheLayerInTheSidebar) {
    Preferences::setBool("showSidebar", false);
    present(test::groupedModel());
    doc().setAllLayerGroupsExpanded(false);
    doc().setLayerFilter("  toit\n");
    doc().selectLayerFromViewport(1);
    EXPECT_TRUE(doc().showSidebar());
    EXPECT_TRUE(Preferences::boolValue("showSidebar"));
    const auto& murs = groupNamed(*doc().skp(), "Murs");
    EXPECT_EQ(doc().expandedLayerGroups(), (std::set<std::string>{murs.id}));
    // "Mur sud" does not contain "toit": the filter gives way.
    EXPECT_EQ(doc().layerFilter(), "");
    EXPECT_EQ(doc().selectedLayerIndex(), 1);
    EXPECT_EQ(doc().scrollToLayerTrigger(), 1);
    EXPECT_EQ(doc().scene()->activePulseLayers(), (std::set<int>{1}));
}

TEST_F(DocumentModelTest, clickOnALayerThatMatchesTheFilterKeepsIt) {
    doc().set(test::groupedModel());
    doc().setLayerFilter("TOIT");
    doc().selectLayerFromViewport(2);
    EXPECT_EQ(doc().layerFilter(), "TOIT");
    EXPECT_EQ(doc().selectedLayerIndex(), 2);
}

TEST_F(DocumentModelTest, hoveringTheSameLayerTwiceRedrawsOnce) {
    auto& scene = present(test::groupedModel());
    redraws = 0;
    doc().setHoveredLayer(0);
    doc().setHoveredLayer(0);
    EXPECT_EQ(redraws, 1);
    EXPECT_EQ(scene.hoveredLayers(), (std::set<int>{0}));
    // An index outside the layers counts as none.
    doc().setHoveredLayer(42);
    EXPECT_FALSE(doc().hoveredLayerIndex());
    EXPECT_TRUE(scene.hoveredLayers().empty());
}

TEST_F(DocumentModelTest, zoomToAnEmptyLayerShowsItAndKeepsTheCamera) {
    present(test::groupedModel());
    doc().toggleLayer(3);
    Float3 before = doc().viewport().cameraModelPosition();
    doc().zoomToLayer(3, false);
    EXPECT_TRUE(doc().layerVisible()[3]);
    EXPECT_EQ(doc().viewport().cameraModelPosition(), before);
    EXPECT_EQ(doc().activeStandardView(), viewport::StandardView::iso);
}

TEST_F(DocumentModelTest, zoomToAHiddenLayerShowsItAndFramesIt) {
    present(test::groupedModel());
    doc().toggleLayer(2);
    doc().zoomToLayer(2, false);
    EXPECT_TRUE(doc().layerVisible()[2]);
    EXPECT_FALSE(doc().activeStandardView());
    EXPECT_EQ(doc().cameraPosition(), doc().viewport().cameraModelPosition());
}

TEST_F(DocumentModelTest, hiddenLayerGroupHidesAllItsLayers) {
    auto& scene = present(test::groupedModel());
    const auto& murs = groupNamed(*doc().skp(), "Murs");
    doc().setLayerGroup(murs, false);
    EXPECT_EQ(doc().layerVisible(), (Visibility{false, false, true, true}));
    EXPECT_EQ(scene.hiddenLayers(), (std::set<int>{0, 1}));
    int writes = 0;
    QObject::connect(&doc(), &DocumentModel::layerVisibleChanged, [&] { ++writes; });
    doc().setLayerGroup(murs, false);
    EXPECT_EQ(writes, 0);
}

TEST_F(DocumentModelTest, layerGroupSkipsIndicesOutOfRange) {
    doc().set(test::groupedModel());
    LayerGroup odd{"odd", "Odd", {1, 99, -3, 2}, {}};
    doc().setLayerGroup(odd, false);
    EXPECT_EQ(doc().layerVisible(), (Visibility{true, false, false, true}));
}

TEST_F(DocumentModelTest, zoomToAHiddenGroupShowsItAndMovesTheCamera) {
    present(test::groupedModel());
    const auto& toit = groupNamed(*doc().skp(), "Toit");
    doc().setLayerGroup(toit, false);
    Float3 before = doc().viewport().cameraModelPosition();
    doc().zoomToLayerGroup(toit, false);
    EXPECT_TRUE(doc().layerVisible()[2]);
    EXPECT_FALSE(doc().activeStandardView());
    EXPECT_NE(doc().viewport().cameraModelPosition(), before);
    EXPECT_EQ(doc().cameraPosition(), doc().viewport().cameraModelPosition());
}

TEST_F(DocumentModelTest, soloLayerGroupTogglesWithAllLayers) {
    doc().set(test::groupedModel());
    const auto& murs = groupNamed(*doc().skp(), "Murs");
    doc().soloLayerGroup(murs);
    EXPECT_EQ(doc().layerVisible(), (Visibility{true, true, false, false}));
    doc().soloLayerGroup(murs);
    EXPECT_EQ(doc().layerVisible(), Visibility(4, true));
}

// A presented scene used to get no timer, and the flash stayed at full strength for good.
TEST_F(DocumentModelTest, selectingAGroupPulsesItsLayersBrieflyAndClearsTheLayerSelection) {
    auto& scene = present(test::groupedModel());
    doc().selectLayer(3);
    const auto& murs = groupNamed(*doc().skp(), "Murs");
    doc().selectLayerGroup(murs);
    EXPECT_EQ(doc().selectedLayerGroupID(), murs.id);
    EXPECT_FALSE(doc().selectedLayerIndex());
    EXPECT_EQ(scene.activePulseLayers(), (std::set<int>{0, 1}));
    clock.advance(viewport::ViewportScene::kPulseDuration + 0.01);
    EXPECT_TRUE(test::waitUntil([&] { return scene.activePulseLayers().empty(); }, 2));
    doc().selectLayer(2);
    EXPECT_FALSE(doc().selectedLayerGroupID());
}

TEST_F(DocumentModelTest, groupsExpandOneByOneOrAllAtOnce) {
    doc().set(test::groupedModel());
    const auto& murs = groupNamed(*doc().skp(), "Murs");
    std::set<std::string> multi;
    for (const auto& g : doc().skp()->layerGroups())
        if (!g.isSingle()) multi.insert(g.id);
    EXPECT_TRUE(multi.contains(murs.id));
    EXPECT_EQ(doc().expandedLayerGroups(), multi);
    doc().toggleLayerGroupExpanded(murs.id);
    EXPECT_FALSE(doc().expandedLayerGroups().contains(murs.id));
    doc().toggleLayerGroupExpanded(murs.id);
    EXPECT_TRUE(doc().expandedLayerGroups().contains(murs.id));
    doc().setAllLayerGroupsExpanded(false);
    EXPECT_TRUE(doc().expandedLayerGroups().empty());
    doc().setAllLayerGroupsExpanded(true);
    EXPECT_EQ(doc().expandedLayerGroups(), multi);
}

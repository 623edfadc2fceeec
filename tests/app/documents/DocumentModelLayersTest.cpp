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

std::vector<Scene> threeScenes() {
    const Camera ortho{{20, -20, 10}, {0, 0, 0}, {0, 0, 1}, false, 35, 8};
    return {Scene{"Plan", ortho, std::vector<int>{1, 2}},
            Scene{"Sans caméra", std::nullopt, std::nullopt},
            Scene{"Tout", std::nullopt, std::vector<int>{}}};
}

using Visibility = std::vector<bool>;

}  // namespace

TEST_F(DocumentModelTest, commandsOutOfRangeOrWithoutAModelDoNothing) {
    doc().nextScene();
    doc().setAllLayers(false);
    EXPECT_FALSE(doc().selectedScene());
    EXPECT_TRUE(doc().layerVisible().empty());

    present(test::groupedModel(threeScenes()));
    int writes = 0;
    QObject::connect(&doc(), &DocumentModel::layerVisibleChanged, [&] { ++writes; });
    for (int bad : {-1, 4, 99}) {
        doc().toggleLayer(bad);
        doc().soloLayer(bad);
        doc().selectLayer(bad);
        doc().selectLayerFromViewport(bad);
        doc().zoomToLayer(bad, false);
        doc().selectScene(bad);
    }
    doc().setHoveredLayer(42);
    EXPECT_TRUE(writes == 0 && doc().scrollToLayerTrigger() == 0);
    EXPECT_FALSE(doc().selectedScene() || doc().selectedLayerIndex() || doc().hoveredLayerIndex());
    // A group's indices out of range are skipped, the others apply.
    doc().setLayerGroup(LayerGroup{"odd", "Odd", {1, 99, -3, 2}, {}}, false);
    EXPECT_EQ(doc().layerVisible(), (Visibility{true, false, false, true}));
}

TEST_F(DocumentModelTest, layerVisibilityIsKeptBeforeTheSceneAndReachesItAfter) {
    doc().set(test::groupedModel());
    doc().toggleLayer(2);
    EXPECT_TRUE(doc().layerVisible() == (Visibility{true, true, false, true}) &&
                !doc().visibleSize());
    model.reset();
    auto& scene = present(test::groupedModel());
    doc().toggleLayer(2);
    EXPECT_EQ(scene.hiddenLayers(), (std::set<int>{2}));
    EXPECT_FLOAT_EQ(doc().visibleSize().value().x, 4);

    // Solo toggles between one layer and all; solo on the only visible layer shows all.
    doc().soloLayer(1);
    doc().soloLayer(2);
    EXPECT_EQ(scene.hiddenLayers(), (std::set<int>{0, 1, 3}));
    doc().soloLayer(2);
    EXPECT_TRUE(scene.hiddenLayers().empty());

    // Groups: hide, solo, and no write for a change that changes nothing.
    const auto& murs = groupNamed(*doc().skp(), "Murs");
    doc().setLayerGroup(murs, false);
    EXPECT_EQ(scene.hiddenLayers(), (std::set<int>{0, 1}));
    int writes = 0;
    QObject::connect(&doc(), &DocumentModel::layerVisibleChanged, [&] { ++writes; });
    doc().setLayerGroup(murs, false);
    EXPECT_EQ(writes, 0);
    doc().soloLayerGroup(murs);
    EXPECT_EQ(doc().layerVisible(), (Visibility{true, true, false, false}));
    doc().soloLayerGroup(murs);
    EXPECT_EQ(doc().layerVisible(), Visibility(4, true));
}

TEST_F(DocumentModelTest, selectingASceneAppliesItsCameraAndLayersWhenItHasThem) {
    auto& scene = present(test::groupedModel(threeScenes()));
    doc().toggleLayer(3);
    const Float3 before = doc().viewport().cameraModelPosition();
    doc().selectScene(1, false);
    EXPECT_EQ(doc().layerVisible(), (Visibility{true, true, true, false}));
    EXPECT_TRUE(!doc().viewport().rig().glide() &&
                doc().viewport().cameraModelPosition() == before);
    doc().selectScene(2, false);
    EXPECT_EQ(doc().layerVisible(), Visibility(4, true)) << "an empty list shows every layer";

    ASSERT_TRUE(doc().isPerspective());
    doc().selectScene(0, false);
    EXPECT_EQ(doc().selectedScene(), 0);
    EXPECT_EQ(scene.hiddenLayers(), (std::set<int>{1, 2}));
    EXPECT_FALSE(doc().isPerspective() || doc().activeStandardView());
    const float quick = doc().viewport().rig().glide().value().duration;
    settle();
    EXPECT_LT(length(doc().cameraPosition() - Float3{20, -20, 10}), 1e-3);
    shiftHeld = true;  // shift asks for the slow transition
    doc().selectScene(0);
    EXPECT_GT(doc().viewport().rig().glide().value().duration, 5 * quick);
}

TEST_F(DocumentModelTest, nextAndPreviousSceneWrapAndStartFromTheEnds) {
    doc().set(test::groupedModel(threeScenes()));
    doc().previousScene(false);
    EXPECT_EQ(doc().selectedScene(), 2) << "back from none is the last";
    doc().set(test::groupedModel(threeScenes()));
    doc().nextScene(false);
    // While loading, the scene's layers are applied to the document alone.
    EXPECT_EQ(doc().layerVisible(), (Visibility{true, false, false, true}));
    for (int i = 0; i < 3; ++i) doc().nextScene(false);
    EXPECT_EQ(doc().selectedScene(), 0) << "next wraps";

    // One scene: next replays its camera.
    present(SyntheticModel::cube());
    doc().viewport().setCameraPose(Float3{9, 9, 9}, std::nullopt, std::nullopt, std::nullopt);
    doc().nextScene(false);
    doc().nextScene(false);
    settle();
    EXPECT_NEAR(doc().viewport().cameraModelPosition().x, 4.5f, 1e-3);
}

TEST_F(DocumentModelTest, clickInTheViewportRevealsTheLayerInTheSidebar) {
    Preferences::setBool("showSidebar", false);
    present(test::groupedModel());
    doc().setAllLayerGroupsExpanded(false);
    doc().setLayerFilter("TOIT");
    doc().selectLayerFromViewport(2);
    EXPECT_EQ(doc().layerFilter(), "TOIT") << "a filter that matches stays";
    doc().setLayerFilter("  toit\n");
    doc().selectLayerFromViewport(1);
    EXPECT_EQ(doc().layerFilter(), "") << "\"Mur sud\" does not contain \"toit\"";
    EXPECT_TRUE(doc().showSidebar() && Preferences::boolValue("showSidebar"));
    const auto& murs = groupNamed(*doc().skp(), "Murs");
    EXPECT_TRUE(doc().expandedLayerGroups().contains(murs.id)) << "its group opens";
    EXPECT_TRUE(doc().selectedLayerIndex() == 1 && doc().scrollToLayerTrigger() == 2);
    EXPECT_EQ(doc().scene()->activePulseLayers(), (std::set<int>{1}));

    // Selecting a group pulses its layers and clears the layer selection, and back.
    doc().selectLayerGroup(murs);
    EXPECT_TRUE(doc().selectedLayerGroupID() == murs.id && !doc().selectedLayerIndex());
    EXPECT_EQ(doc().scene()->activePulseLayers(), (std::set<int>{0, 1}));
    // A presented scene used to get no timer, and the flash stayed at full strength for good.
    clock.advance(viewport::ViewportScene::kPulseDuration + 0.01);
    EXPECT_TRUE(test::waitUntil([&] { return doc().scene()->activePulseLayers().empty(); }, 2));
    doc().selectLayer(2);
    EXPECT_FALSE(doc().selectedLayerGroupID());

    redraws = 0;
    doc().setHoveredLayer(0);
    doc().setHoveredLayer(0);
    EXPECT_EQ(redraws, 1) << "hovering the same layer twice redraws once";
    EXPECT_EQ(doc().scene()->hoveredLayers(), (std::set<int>{0}));
}

TEST_F(DocumentModelTest, zoomToAHiddenLayerOrGroupShowsAndFramesIt) {
    present(test::groupedModel());
    doc().toggleLayer(3);
    const Float3 before = doc().viewport().cameraModelPosition();
    doc().zoomToLayer(3, false);
    EXPECT_TRUE(doc().layerVisible()[3]);
    EXPECT_EQ(doc().viewport().cameraModelPosition(), before) << "an empty layer has no frame";
    EXPECT_EQ(doc().activeStandardView(), viewport::StandardView::iso);

    const auto& toit = groupNamed(*doc().skp(), "Toit");
    doc().setLayerGroup(toit, false);
    doc().zoomToLayerGroup(toit, false);
    EXPECT_TRUE(doc().layerVisible()[2] && !doc().activeStandardView());
    EXPECT_NE(doc().viewport().cameraModelPosition(), before);
    EXPECT_EQ(doc().cameraPosition(), doc().viewport().cameraModelPosition());
}

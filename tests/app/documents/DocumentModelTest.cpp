#include "documents/DocumentModel.h"

#include <gtest/gtest.h>

#include "DocumentModelFixture.h"
#include "EventLoop.h"
#include "ScopedLanguage.h"

using namespace vistrel;
using namespace vistrel::app;
using viewport::BackdropStyle;
using viewport::LightingMode;
using viewport::ShadingStyle;
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

SKPModel boxBetween(float lowZ, float highZ) {
    Definition root;
    root.meshes.push_back(test::boxMesh(0, {0, 0, lowZ}));
    return SKPModel(std::move(root), {}, {}, {{"0", true, std::nullopt}}, {}, std::nullopt,
                    {0, 0, lowZ}, {1, 1, highZ}, Stats{6, 12, 0, 0, 0, 0}, SKPFileInfo{},
                    std::nullopt, std::nullopt);
}

const LayerGroup& groupNamed(const SKPModel& model, const std::string& name) {
    for (const auto& g : model.layerGroups())
        if (g.name == name) return g;
    throw std::runtime_error("no group " + name);
}

using Visibility = std::vector<bool>;

}  // namespace

TEST_F(DocumentModelTest, aModelSetsLayersGroupsAndSidebarAndEveryWriteNotifies) {
    auto three = modelWithLayers(3);
    three.layers[1].isVisible = false;
    doc().set(std::move(three));
    EXPECT_TRUE(doc().layerVisible() == (std::vector<bool>{true, false, true}) &&
                doc().visibleLayerCount() == 2);
    doc().set(modelWithLayers(1));
    EXPECT_FALSE(doc().showSidebar()) << "nothing to show";
    doc().set(modelWithLayers(32));
    EXPECT_FALSE(doc().expandedLayerGroups().empty());
    doc().set(modelWithLayers(33));
    EXPECT_TRUE(doc().expandedLayerGroups().empty() && doc().showSidebar()) << "open up to 32";
    Preferences::setBool("showSidebar", false);
    doc().set(SyntheticModel::cube());
    EXPECT_FALSE(doc().showSidebar());

    int layerWrites = 0, filterWrites = 0;
    QObject::connect(&doc(), &DocumentModel::layerVisibleChanged, [&] { ++layerWrites; });
    QObject::connect(&doc(), &DocumentModel::layerFilterChanged, [&] { ++filterWrites; });
    doc().setAllLayers(true);
    doc().setAllLayers(true);
    doc().setLayerFilter("");
    EXPECT_TRUE(layerWrites == 2 && filterWrites == 1);
    // A model that does not say CAD defers to the header.
    EXPECT_FALSE(doc().isCAD());
    SKPFileInfo dxf;
    dxf.version = "AC1032";
    doc().setInfo(dxf);
    EXPECT_TRUE(doc().isCAD());
}

TEST_F(DocumentModelTest, presentPushesEarlierCommandsIntoTheScene) {
    doc().toggleGrid();
    doc().setSunIntensity(2);
    doc().setShadingStyle(viewport::ShadingStyle::clay);
    doc().setSun(10, 20);
    auto& scene = present(SyntheticModel::cube());
    EXPECT_TRUE(doc().viewport().viewportScene().get() == &scene && doc().loadSeconds() == 1.5);
    EXPECT_TRUE(scene.showsGrid() && scene.sunIntensity() == 2 &&
                scene.sunElevationDegrees() == 20);
    EXPECT_EQ(scene.shadingStyle(), viewport::ShadingStyle::clay);
    // The cube has a camera of its own: no standard view, and the camera fields follow it.
    EXPECT_FALSE(doc().activeStandardView());
    EXPECT_NEAR(doc().cameraPosition().x, doc().viewport().cameraModelPosition().x, 1e-4);

    model.reset();
    Preferences::setBool("isPerspective", false);
    present(test::groupedModel());
    EXPECT_TRUE(doc().activeStandardView() == viewport::StandardView::iso &&
                !doc().viewport().isPerspective())
        << "no camera: iso";
    model.reset();
    Preferences::setBool("showsEdges", false);
    present(linesOnlyModel());
    EXPECT_TRUE(doc().showsEdges() && doc().scene()->showsEdges() &&
                !Preferences::boolValue("showsEdges"))
        << "a drawing of lines shows its edges";
}

TEST_F(DocumentModelTest, statusTextFollowsTheStateInBothLanguages) {
    using Loading = DocumentModel::Loading;
    const auto en = AppLanguage::en, fr = AppLanguage::fr;
    const auto versioned = [&] {
        doc().set(test::groupedModel());
        SKPFileInfo info;
        info.versionLabel = "SketchUp 2024";
        doc().setInfo(info);
    };
    const auto loading = [&](auto... progress) {
        return [=, this] { doc().setState(Loading{{{progress...}}}); };
    };
    struct Case {
        AppLanguage language;
        std::function<void()> setUp;
        std::string expected;
    } cases[] = {
        {en, [] {}, "Loading…"},
        {en, loading("Reading", 1234, 0.5), "Loading… Reading · 1,234 faces"},
        {fr, loading("Lecture", 1, std::nullopt), "Chargement… Lecture · 1 face"},
        {fr, [&] { doc().setState(DocumentModel::Failed{"Fichier illisible"}); },
         "Fichier illisible"},
        {en, versioned, "SketchUp 2024 · 36 faces · 0 edges · 0 components · 7.0 × 1.0 × 1.0 m"},
        {fr, [&] { present(SyntheticModel::cube()); },
         "SketchUp 2023 · 12 faces · 24 arêtes · 2 composants · 2,5 × 1,0 × 1,0 m"},
        {en, [&] { present(SyntheticModel::cube()), doc().viewport().setFreeFlying(true); },
         "Free fly — Esc to exit"},
    };
    for (const Case& c : cases) {
        model.reset();
        test::ScopedLanguage language(c.language);
        c.setUp();
        EXPECT_EQ(doc().statusText(), c.expected);
    }
    EXPECT_TRUE(doc().isFreeFlying()) << "free fly from the viewport reaches the document";
}

TEST_F(DocumentModelTest, settingsComeFromPreferencesAreClampedAndGoBackButWireframeEdgesDoNot) {
    Preferences::setBool("showsEdges", false);
    Preferences::setAmbientOcclusionIntensity(1.25f);
    Preferences::setBackdropStyleRaw("neon");
    EXPECT_EQ(doc().backdropStyle(), BackdropStyle::architecturalSky) << "unknown style";
    model.reset();
    Preferences::setBackdropStyleRaw("studioDark");
    auto& scene = present(SyntheticModel::cube());
    EXPECT_TRUE(!doc().showsEdges() && doc().ambientOcclusionIntensity() == 1.25f);
    EXPECT_EQ(scene.backdropStyle(), BackdropStyle::studioDark);
    doc().setShadingStyle(ShadingStyle::wireframe);
    EXPECT_TRUE(doc().showsEdges() && !scene.showsEdges() && !Preferences::boolValue("showsEdges"))
        << "wireframe turns edges on in the field only";
    doc().setShadingStyle(ShadingStyle::textured);
    doc().toggleGrid();
    doc().toggleShadows();
    EXPECT_TRUE(scene.showsGrid() && !scene.shadowsEnabled());
    EXPECT_FALSE(Preferences::boolValue("shadowsEnabled"));
    ASSERT_TRUE(store.flush());
    EXPECT_EQ(SettingsStore(store.path()).value("showsGrid"), nlohmann::json(true));

    doc().setCustomBackdropColor({1.5f, -1, 0.5f});
    EXPECT_TRUE(scene.backdropStyle() == BackdropStyle::customColor &&
                Preferences::backdropStyleRaw() == "customColor");
    EXPECT_EQ(Preferences::customBackdropColor(), (Float3{1, 0, 0.5f}));

    doc().setSunIntensity(-1);
    doc().setAmbientIntensity(50);
    EXPECT_TRUE(doc().sunIntensity() == 0 && doc().ambientIntensity() < 50);
    EXPECT_FLOAT_EQ(scene.ambientIntensity(), doc().ambientIntensity());

    // Occlusion follows its intensity and never switches on invisible.
    doc().setAmbientOcclusionIntensity(0);
    EXPECT_FALSE(doc().viewport().ambientOcclusionEnabled());
    doc().toggleAmbientOcclusion();
    EXPECT_TRUE(Preferences::boolValue("ambientOcclusionEnabled") &&
                Preferences::ambientOcclusionIntensity() > 0);
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
    EXPECT_TRUE(doc().pointLights()[0].name == "Light 1" &&
                doc().pointLights()[0].position == (Float3{0.5f, 0.5f, 1}));
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
    const auto& lights = doc().pointLights();
    EXPECT_TRUE(doc().selectedPointLightIndex() == 1 && lights[1].name == "Lumière 2");
    EXPECT_TRUE(lights[0].id != lights[1].id && lights[0].position != lights[1].position);
    EXPECT_EQ(scene.pointLights(), lights);

    doc().updateSelectedPointLight(Float3{100, -100, 50}, 7.0f);
    doc().updateSelectedPointLight(std::nullopt, 0.5f);
    EXPECT_EQ(doc().selectedPointLight()->position, (Float3{100, -100, 50})) << "kept";
    doc().removeSelectedPointLight();
    EXPECT_EQ(doc().selectedPointLightIndex(), 0);
}

TEST_F(DocumentModelTest, commandsOutOfRangeDoNothingAndAScenesCameraAndLayersApplyWhenItHasThem) {
    doc().nextScene();
    doc().setAllLayers(false);
    EXPECT_FALSE(doc().selectedScene());
    EXPECT_TRUE(doc().layerVisible().empty());

    auto& scene = present(test::groupedModel(test::threeScenes()));
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

    doc().setAllLayers(true);
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

TEST_F(DocumentModelTest, layerVisibilityReachesTheSceneAndZoomShowsAndFramesHiddenLayers) {
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

TEST_F(DocumentModelTest, nextAndPreviousSceneWrapAndStartFromTheEnds) {
    doc().set(test::groupedModel(test::threeScenes()));
    doc().previousScene(false);
    EXPECT_EQ(doc().selectedScene(), 2) << "back from none is the last";
    doc().set(test::groupedModel(test::threeScenes()));
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

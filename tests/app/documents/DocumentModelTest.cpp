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
    Preferences::setAmbientOcclusionIntensity(1.25f);
    Preferences::setCustomBackdropColor({0.5f, 0.25f, 1});
    Preferences::setBackdropStyleRaw("neon");
    EXPECT_EQ(doc().backdropStyle(), viewport::BackdropStyle::architecturalSky) << "unknown style";
    model.reset();
    Preferences::setBackdropStyleRaw("studioDark");
    EXPECT_FALSE(doc().showsEdges());
    EXPECT_FLOAT_EQ(doc().ambientOcclusionIntensity(), 1.25f);
    EXPECT_EQ(doc().backdropStyle(), viewport::BackdropStyle::studioDark);
    EXPECT_EQ(doc().customBackdropColor(), (Float3{0.5f, 0.25f, 1}));
}

TEST_F(DocumentModelTest, aModelSetsLayersGroupsAndSidebarAndEveryWriteNotifies) {
    auto three = modelWithLayers(3);
    three.layers[1].isVisible = false;
    doc().set(std::move(three));
    EXPECT_EQ(doc().layerVisible(), (std::vector<bool>{true, false, true}));
    EXPECT_EQ(doc().visibleLayerCount(), 2);
    doc().set(modelWithLayers(1));
    EXPECT_FALSE(doc().showSidebar()) << "nothing to show";
    doc().set(modelWithLayers(32));
    EXPECT_FALSE(doc().expandedLayerGroups().empty());
    doc().set(modelWithLayers(33));
    EXPECT_TRUE(doc().expandedLayerGroups().empty()) << "groups open only up to 32 layers";
    EXPECT_TRUE(doc().showSidebar());
    Preferences::setBool("showSidebar", false);
    doc().set(SyntheticModel::cube());
    EXPECT_FALSE(doc().showSidebar());

    int layerWrites = 0, filterWrites = 0;
    QObject::connect(&doc(), &DocumentModel::layerVisibleChanged, [&] { ++layerWrites; });
    QObject::connect(&doc(), &DocumentModel::layerFilterChanged, [&] { ++filterWrites; });
    doc().setAllLayers(true);
    doc().setAllLayers(true);
    doc().setLayerFilter("");
    EXPECT_EQ(layerWrites, 2);
    EXPECT_EQ(filterWrites, 1);
}

TEST_F(DocumentModelTest, presentPushesEarlierCommandsIntoTheScene) {
    doc().toggleGrid();
    doc().setSunIntensity(2);
    doc().setShadingStyle(viewport::ShadingStyle::clay);
    doc().setSun(10, 20);
    auto& scene = present(SyntheticModel::cube());
    EXPECT_EQ(doc().viewport().viewportScene().get(), &scene);
    EXPECT_TRUE(scene.showsGrid());
    EXPECT_FLOAT_EQ(scene.sunIntensity(), 2);
    EXPECT_FLOAT_EQ(scene.sunElevationDegrees(), 20);
    EXPECT_EQ(scene.shadingStyle(), viewport::ShadingStyle::clay);
    EXPECT_EQ(doc().loadSeconds(), 1.5);
    // The cube has a camera of its own: no standard view, and the camera fields follow it.
    EXPECT_FALSE(doc().activeStandardView());
    EXPECT_NEAR(doc().cameraPosition().x, doc().viewport().cameraModelPosition().x, 1e-4);

    model.reset();
    Preferences::setBool("isPerspective", false);
    present(test::groupedModel());
    EXPECT_EQ(doc().activeStandardView(), viewport::StandardView::iso) << "no camera: iso";
    EXPECT_FALSE(doc().viewport().isPerspective());
    model.reset();
    Preferences::setBool("showsEdges", false);
    present(linesOnlyModel());
    EXPECT_TRUE(doc().showsEdges()) << "a drawing of lines shows its edges";
    EXPECT_TRUE(doc().scene()->showsEdges());
    EXPECT_FALSE(Preferences::boolValue("showsEdges"));
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

TEST_F(DocumentModelTest, viewportEventsReachTheFieldsAndTheFeedback) {
    present(test::groupedModel());
    int feedbacks = 0;
    doc().onCameraFeedback = [&](DocumentModel& m) { feedbacks += &m == &doc(); };
    doc().viewport().setCameraPose(Float3{1, 2, 3}, 90.0f, -10.0f, 4.0f);
    EXPECT_TRUE(feedbacks > 0 && doc().cameraPosition() == (Float3{1, 2, 3}));
    EXPECT_TRUE(std::abs(doc().cameraYaw() - 90) < 1e-3 &&
                std::abs(doc().cameraPitch() + 10) < 1e-3);
    doc().viewport().onHoverLayer(2);
    doc().viewport().onSelectLayer(1);
    doc().viewport().onResetView(false);
    EXPECT_TRUE(doc().hoveredLayerName() == "Toiture" && doc().selectedLayerIndex() == 1);
    EXPECT_FALSE(doc().isPerspective());
    // A model that does not say CAD defers to the header.
    EXPECT_FALSE(doc().isCAD());
    SKPFileInfo dxf;
    dxf.version = "AC1032";
    doc().setInfo(dxf);
    EXPECT_TRUE(doc().isCAD());
}

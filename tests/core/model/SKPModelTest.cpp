#include "model/SKPModel.h"

#include <gtest/gtest.h>

#include "TestEnv.h"
#include "model/SKPError.h"
#include "settings/Localization.h"
#include "settings/SettingsStore.h"

using namespace vistrel;

namespace {

SKPModel boxModel(Float3 size, int64_t faces, int64_t edges, const std::string& file) {
    Stats stats;
    stats.faces = faces;
    stats.edges = edges;
    SKPFileInfo info;
    info.url = file;
    return SKPModel({}, {}, {}, {{"Layer0", true, std::nullopt}}, {}, std::nullopt, {0, 0, 0}, size,
                    stats, info, std::nullopt, std::nullopt);
}

}  // namespace

TEST(SKPModel, planarRuleTable) {
    // Size, faces, edges, file, planar.
    const std::tuple<Float3, int64_t, int64_t, const char*, bool> cases[] = {
        {{10, 10, 0}, 1, 0, "a.skp", false},        // flat SketchUp model with a face
        {{10, 10, 0}, 0, 4, "a.skp", true},         // same outline, edges only
        {{10, 10, 5}, 0, 4, "a.skp", false},        // SketchUp with height never planar
        {{100, 100, 30}, 79, 2000, "a.dxf", true},  // mostly lines: edges over 25 per face
        {{100, 100, 30}, 80, 2000, "a.dxf", false},
        {{100, 100, 30}, 79, 2000, "a.dwg", true},
        {{100, 100, 30}, 0, 0, "a.dxf", false},      // no edges at all
        {{100, 100, 0.5}, 5000, 10, "a.dxf", true},  // flat CAD always planar
        {{0.00005f, 0.00005f, 0}, 0, 4, "a.dxf", false},
    };
    for (auto [size, faces, edges, file, planar] : cases)
        EXPECT_EQ(boxModel(size, faces, edges, file).isPlanar2D(), planar)
            << file << " faces=" << faces << " edges=" << edges;
    EXPECT_FALSE(SKPModel().isPlanar2D());
}

TEST(SKPError, messagesFollowTheLanguageAtTheMomentOfAsking) {
    test::TempDir dir;
    SettingsStore store(dir / "s.json");
    Localization::setStore(&store);
    Localization::setCurrent(AppLanguage::fr);
    auto unreadable = SKPError::unreadable("/some/where/Plan 1.dxf");
    EXPECT_EQ(unreadable.errorDescription(), "Fichier illisible : Plan 1.dxf");
    EXPECT_EQ(SKPError::api("SUModelCreateFromFile", 7).errorDescription(),
              "Erreur de l'API SketchUp (SUModelCreateFromFile \u2192 7).");
    EXPECT_TRUE(SKPError::sketchUpNotFound({"/a"}).errorDescription().starts_with(
        "Framework SketchUp introuvable : "));

    Localization::setCurrent(AppLanguage::en);
    EXPECT_EQ(unreadable.errorDescription(), "Unreadable file: Plan 1.dxf");
    EXPECT_EQ(std::string(SKPError::cancelled().what()), "Loading cancelled.");
    EXPECT_EQ(SKPError::sketchUpNotFound({"/a", "/b"}).errorDescription(),
              "SketchUp framework not found: Vistrel.app looks incomplete "
              "(Contents/Frameworks/SketchUpAPI.framework). Reinstall the app.");
    Localization::setStore(nullptr);
    Localization::resetForTesting();
}

// The SKP reader against the stand-in SketchUp library, found through VISTREL_SKETCHUP_SDK the
// way a real library is found. Scenes are JSON fixtures (tests/fixtures/skp) or written here.
#include <dlfcn.h>
#include <gtest/gtest.h>

#include <cmath>
#include <fstream>
#include <nlohmann/json.hpp>
#include <thread>

#include "ScopedLanguage.h"
#include "TestEnv.h"
#include "ThrownError.h"
#include "ViewportTestModels.h"
#include "model/SKPError.h"
#include "settings/Localization.h"
#include "settings/TemporaryFolder.h"
#include "sketchup/SKPConverter.h"
#include "sketchup/SKPReader.h"
#include "sketchup/SketchUpAPI.h"

using namespace vistrel;
using SKPReader::load;
using test::expectNear;
namespace fs = std::filesystem;

namespace {

const fs::path kStandIn = fs::path(VISTREL_STANDIN_DIR) / "full/SketchUpAPI.framework";

fs::path fixture(const std::string& name) {
    return fs::path(VISTREL_FIXTURES_SOURCE_DIR) / "skp" / name;
}

class SKPReaderTest : public ::testing::Test {
  protected:
    fs::path writeScene(const nlohmann::json& scene, const std::string& name = "scene.skp") {
        fs::path file = dir / name;
        std::ofstream(file) << scene.dump();
        return file;
    }
    // Handles the stand-in still holds: models, strings and mesh helpers not released.
    int liveHandles() {
        void* lib = dlopen((kStandIn / "SketchUpAPI").c_str(), RTLD_NOW | RTLD_NOLOAD);
        if (!lib) return -1;
        auto fn = reinterpret_cast<int (*)()>(dlsym(lib, "StandInLiveHandles"));
        int n = fn ? fn() : -1;
        dlclose(lib);
        return n;
    }
    size_t textureFolders() {
        std::error_code ec;
        return size_t(std::distance(
            fs::directory_iterator(TemporaryFolder::forThisProcess().value(), ec), {}));
    }

    test::TempDir dir;
    test::TempDir tmp;
    test::ScopedEnv sdk{"VISTREL_SKETCHUP_SDK", kStandIn.c_str()};
    test::ScopedEnv tmpdir{"TMPDIR", tmp.path().c_str()};
    test::ScopedLanguage english{AppLanguage::en};
};

}  // namespace

TEST_F(SKPReaderTest, materialsLayersAndFaceBatchesMapFromTheLibrary) {
    SKPModel m = load(fixture("materials.json"));
    ASSERT_EQ(m.materials.size(), 8u);
    // Name, colour, opacity, transparency.
    const std::tuple<const char*, Float4, float, bool> expected[] = {
        {"Opaque", {1, 0, 0, 1}, 1, false},
        {"Glass", {0, 0, 1, 128 / 255.0f}, 128 / 255.0f, true},
        {"Tinted", {0, 1, 0, 1}, 0.5f, true},
        {"Drawn", {10 / 255.0f, 20 / 255.0f, 30 / 255.0f, 1}, 1, true},
        {"Brick", {1, 1, 1, 1}, 1, false},
        {"BrokenTexture", {0, 0, 0, 1}, 1, false},
        {"Bare", {0, 0, 0, 1}, 1, false},
        {"", {0, 0, 0, 0}, 1, false},
    };
    for (size_t i = 0; i < 8; ++i) {
        SCOPED_TRACE(i);
        const Material& mat = m.materials[i];
        const auto& [name, color, opacity, transparent] = expected[i];
        EXPECT_EQ(mat.name, name);
        EXPECT_EQ(mat.color, color);
        EXPECT_FLOAT_EQ(mat.opacity, opacity);
        EXPECT_EQ(mat.isTransparent, transparent);
        EXPECT_EQ(mat.textureURL.has_value(), i == 4 || i == 6);  // 5: the export failed
    }

    ASSERT_TRUE(m.textureDirectory && m.materials[4].textureURL && m.materials[6].textureURL);
    EXPECT_EQ(m.textureDirectory->parent_path(), TemporaryFolder::forThisProcess());
    EXPECT_EQ(*m.materials[4].textureURL, *m.textureDirectory / "4.jpg");
    EXPECT_EQ(*m.materials[6].textureURL, *m.textureDirectory / "6.png");
    std::ifstream brick(*m.materials[4].textureURL);
    EXPECT_EQ(std::string(std::istreambuf_iterator<char>(brick), {}), "brick-bytes");
    EXPECT_EQ(m.materials[4].textureScale, (Float2{2, 1}));
    EXPECT_EQ(m.materials[5].textureScale, (Float2{1, 1}));

    // Layers keep their names; visibility that cannot be read counts as visible, a blank
    // folder name as no folder.
    EXPECT_EQ(m.layers, (std::vector<Layer>{{"Layer0", true, std::nullopt},
                                            {"Walls", false, "Structure"},
                                            {" Roof ", true, std::nullopt}}));

    // Hidden faces are not counted; faces that fail after the count are.
    EXPECT_EQ(m.stats.faces, 12);
    EXPECT_EQ(m.stats.triangles, 10);
    EXPECT_EQ(m.stats.edges, 0);  // guide points are not read beside faces
    // Material, layer, vertex count, whether it has UVs.
    const std::tuple<std::optional<int>, int, size_t, bool> batches[] = {
        {std::nullopt, 0, 6, true},  // default both sides, and an unknown/null pair
        {1, 1, 7, false},            // opaque front, translucent back; translucent front
        {4, 2, 3, true},             // textured
        {0, 0, 3, false},            // back only
        {5, 0, 3, true},             // texture export failed: UVs all the same
        {2, 0, 3, false},            // opaque front, translucent back (by opacity)
        {3, 0, 3, false},            // translucent front (drawn) wins over any back
    };
    const auto& meshes = m.root.meshes;
    ASSERT_EQ(meshes.size(), std::size(batches));
    for (size_t i = 0; i < meshes.size(); ++i) {
        SCOPED_TRACE(i);
        const auto& [material, layer, positions, hasUVs] = batches[i];
        EXPECT_EQ(meshes[i].material, material);
        EXPECT_EQ(meshes[i].layer, layer);
        EXPECT_EQ(meshes[i].positions.size(), positions);
        EXPECT_EQ(meshes[i].normals.size(), positions);
        EXPECT_EQ(meshes[i].uvs ? meshes[i].uvs->size() : 0, hasUVs ? positions : 0);
    }

    // No material: UVs are STQ in metres.
    expectNear(meshes[0].positions[1], {2.54f, 0, 0});
    EXPECT_NEAR(meshes[0].uvs->at(1).x, 2.54f, 1e-6);
    EXPECT_NEAR(meshes[0].uvs->at(2).y, 2.54f, 1e-6);
    // Vertices are per face: the second face of the batch starts at 3.
    EXPECT_EQ(meshes[0].indices, (std::vector<uint32_t>{0, 1, 2, 3, 4, 5}));
    EXPECT_EQ(meshes[1].indices, (std::vector<uint32_t>{0, 1, 2, 0, 2, 3, 4, 5, 6}));
    EXPECT_EQ(meshes[1].normals[0], (Float3{0, 0, -1}));
    // Textured: s/q and t/q at scale 1, q = 0 counting as 1.
    EXPECT_EQ(*meshes[2].uvs, (std::vector<Float2>{{1, 2}, {3, 4}, {1, 1}}));
    EXPECT_EQ(*meshes[4].uvs, (std::vector<Float2>{{0, 0}, {50, 0}, {0, 50}}));

    expectNear(m.boundsMin, {0, 0, -0.254f});
    expectNear(m.boundsMax, {2.54f, 2.54f, 5.08f});
}

TEST_F(SKPReaderTest, groupsInstancesEdgesAndGuidePointsFormTheDefinitionGraph) {
    SKPModel m = load(fixture("hierarchy.json"));
    EXPECT_EQ(m.stats.faces, 3);  // the chair counts once however often it is placed
    EXPECT_EQ(m.stats.edges, 6);

    std::vector<std::string> names;
    for (const Definition& d : m.definitions) names.push_back(d.name);
    EXPECT_EQ(names,
              (std::vector<std::string>{"Top", "Table", "Scaled", "Survey", "Chair", "Empty"}));
    EXPECT_TRUE(m.definitions[5].meshes.empty());  // only hidden faces

    // Each child as "name: definition, layer, group or instance, material".
    const auto& children = m.root.children;
    std::vector<std::string> got;
    for (const Instance& c : children)
        got.push_back(c.name + ": " + std::to_string(c.definition) + " " + std::to_string(c.layer) +
                      (c.isGroup ? " g " : " i ") +
                      (c.material ? std::to_string(*c.material) : "-"));
    EXPECT_EQ(got, (std::vector<std::string>{"Table: 1 1 g 0", "Scaled: 2 0 g -", "Survey: 3 0 g -",
                                             "Chair A: 4 0 i 0", "Chair B: 4 1 i -",
                                             "Ghost chair: 5 0 i -"}));
    ASSERT_EQ(children.size(), 6u);
    EXPECT_FLOAT_EQ(children[0].transform.m[12], 2.54f);
    EXPECT_FLOAT_EQ(children[1].transform.m[12], 0.254f);  // divided by w = 2
    EXPECT_FLOAT_EQ(children[1].transform.m[0], 1.0f);
    EXPECT_FLOAT_EQ(children[4].transform.m[13], 10.16f);

    // Edges: one set per layer, soft, hidden and unreadable edges left out.
    ASSERT_EQ(m.root.edges.size(), 2u);
    EXPECT_EQ(m.root.edges[0].positions.size(), 4u);
    expectNear(m.root.edges[0].positions[3], {0, 0, 2.54f});
    EXPECT_EQ(m.root.edges[1].layer, 1);

    // Guide points where nothing else is drawn: short segments along X, per layer.
    const Definition& survey = m.definitions[3];
    ASSERT_EQ(survey.edges.size(), 2u);
    EXPECT_EQ(survey.edges[0].positions.size(), 2u);
    expectNear(survey.edges[0].positions[0], {-0.015f, 0, 0});
    EXPECT_EQ(survey.edges[1].layer, 1);
    expectNear(survey.edges[1].positions[0], {0.762f - 0.015f, 0, 0});

    // The rotated second chair reaches x < 0; guide points off in the root are ignored.
    expectNear(m.boundsMin, {-0.254f, 0, 0});
    expectNear(m.boundsMax, {2.794f, 10.414f, 2.54f});
}

TEST_F(SKPReaderTest, cameraScenesAndNewerVersionWarning) {
    SKPModel m = load(fixture("views.json"));
    EXPECT_EQ(m.loadWarning, "File saved by a newer SketchUp; loaded anyway.");
    EXPECT_FALSE(m.textureDirectory);

    ASSERT_TRUE(m.camera);
    expectNear(m.camera->position, {2.54f, 0, 0});
    EXPECT_TRUE(m.camera->isPerspective);
    // 60 degrees across an aspect of 2 become a vertical angle.
    EXPECT_NEAR(m.camera->fovDegrees, 2 * std::atan(std::tan(M_PI / 6) / 2) * 180 / M_PI, 1e-4);
    EXPECT_FLOAT_EQ(m.camera->orthoHeight, 10.0f);

    ASSERT_EQ(m.scenes.size(), 5u);
    const Scene& front = m.scenes[0];
    ASSERT_TRUE(front.camera);
    EXPECT_FALSE(front.camera->isPerspective);
    EXPECT_FLOAT_EQ(front.camera->fovDegrees, 35.0f);
    EXPECT_NEAR(front.camera->orthoHeight, 5.08f, 1e-5);
    expectNear(front.camera->target, {0, 0, 1.27f});
    EXPECT_EQ(front.hiddenLayers, (std::vector<int>{2, 1}));

    EXPECT_EQ(m.scenes[1], (Scene{"Plain", std::nullopt, std::nullopt}));
    EXPECT_EQ(m.scenes[2], (Scene{"Broken", std::nullopt, std::vector<int>{}}));
    EXPECT_EQ(m.scenes[3], (Scene{"NoOrientation", std::nullopt, std::nullopt}));
    const Scene& wide = m.scenes[4];
    ASSERT_TRUE(wide.camera);
    EXPECT_TRUE(wide.camera->isPerspective);  // not readable counts as perspective
    // No aspect: 16:9 is assumed.
    EXPECT_NEAR(wide.camera->fovDegrees, 2 * std::atan(1 / 1.7777777777777777) * 180 / M_PI, 1e-4);
    EXPECT_FLOAT_EQ(wide.camera->orthoHeight, 10.0f);  // a height not above 0
}

TEST_F(SKPReaderTest, openStatusesAndAFailingRootMapToUnreadableOrApi) {
    const fs::path file = dir / "scene.skp";
    const std::pair<std::string, SKPError> cases[] = {
        {R"({"open": {"result": 7}})", SKPError::unreadable(file)},
        {R"({"open": {"result": 12}})", SKPError::unreadable(file)},
        {R"({"open": {"result": 13}})", SKPError::unreadable(file)},
        {R"({"open": {"result": 5}})", SKPError::api("SUModelCreateFromFileWithStatus", 5)},
        {"not a model", SKPError::unreadable(file)},
        // The texture already written goes with the failure.
        {R"({"fail": ["SUModelGetEntities"], "materials": [{"name": "T", "type": 1,
             "texture": {"fileName": "a.png"}}]})",
         SKPError::api("SUModelGetEntities", 6)}};
    for (const auto& [contents, expected] : cases) {
        std::ofstream(file) << contents;
        EXPECT_EQ(test::thrownError([&] { load(file); }), expected) << contents;
    }
    EXPECT_EQ(textureFolders(), 0u);
    EXPECT_EQ(liveHandles(), 0);
}

TEST_F(SKPReaderTest, progressCountsFacesAndCancellationLeavesNothingBehind) {
    fs::path file = writeScene(
        {{"materials", {{{"name", "T"}, {"type", 1}, {"texture", {{"fileName", "a.png"}}}}}},
         {"entities", {{"faceRow", 4001}}}});

    std::vector<SKPReader::Progress> reports;
    load(file, [&](const SKPReader::Progress& p) { reports.push_back(p); }, {});
    ASSERT_GE(reports.size(), 3u);
    EXPECT_EQ(reports.back().faces, 4001);
    for (size_t i = 1; i < reports.size(); ++i) {
        EXPECT_GT(reports[i].fraction, reports[i - 1].fraction);
        EXPECT_GE(reports[i].faces, reports[i - 1].faces);
    }
    EXPECT_EQ(textureFolders(), 1u);

    // Cancelled among the faces, then right after the open.
    for (int last : {3, 1}) {
        int polls = 0;
        EXPECT_EQ(test::thrownError([&] { load(file, {}, [&] { return ++polls == last; }); }),
                  SKPError::cancelled());
        EXPECT_EQ(textureFolders(), 1u);  // only the first model's folder stays
        EXPECT_EQ(liveHandles(), 0);
    }
}

TEST_F(SKPReaderTest, nestingBeyondDepth63LeavesEmptyDefinitions) {
    SKPModel m = load(writeScene({{"entities", {{"groupNest", 65}}}}));
    ASSERT_EQ(m.definitions.size(), 64u);
    EXPECT_EQ(m.definitions[0].name, "level 64");
    EXPECT_TRUE(m.definitions[0].meshes.empty());
    EXPECT_EQ(m.stats.faces, 63);
}

TEST_F(SKPReaderTest, guidePointCloudsAreThinnedAndOnlyReadWhereNothingElseIs) {
    SKPModel cloud = load(writeScene({{"entities", {{"guidePointCloud", 130000}}}}));
    EXPECT_EQ(cloud.stats.edges, 65000);
    ASSERT_EQ(cloud.root.edges.size(), 1u);
    expectNear(cloud.root.edges[0].positions[2], {2 * 0.0254f - 0.015f, 0, 0});
    EXPECT_NEAR(cloud.boundsMax.x, 129998 * 0.0254f, 1e-2);  // the point, not the segment end

    nlohmann::json withEdge = {
        {"entities",
         {{"guidePointCloud", 100}, {"edges", {{{"start", {0, 0, 0}}, {"end", {1, 0, 0}}}}}}}};
    EXPECT_EQ(load(writeScene(withEdge)).stats.edges, 1);
}

TEST_F(SKPReaderTest, missingOptionalFunctionsAreRespected) {
    SketchUpAPI::Location noOptional{
        fs::path(VISTREL_STANDIN_DIR) / "no_optional/SketchUpAPI.framework", std::nullopt, false};
    // A library without them: the scene's transparency, folder and guide point are not seen.
    const SketchUpAPI::Functions f = SketchUpAPI::loadFunctions(noOptional);

    fs::path file =
        writeScene({{"materials",
                     {{{"name", "Drawn"}, {"color", {1, 2, 3, 255}}, {"drawnTransparent", true}}}},
                    {"layers", {{{"name", "A"}, {"folder", "F"}}}},
                    {"entities", {{"guidePoints", {{{"position", {0, 0, 0}}}}}}}});
    SUHandle model = nullptr;
    int32_t status = 0;
    ASSERT_EQ(f.SUModelCreateFromFileWithStatus(&model, file.c_str(), &status), 0);
    SKPReader::Converter converter(f, {}, {});
    SKPModel m = converter.convertModel(model, {}, status, std::chrono::steady_clock::now());
    f.SUModelRelease(&model);
    EXPECT_FALSE(m.materials[0].isTransparent);
    EXPECT_FALSE(m.layers[0].folder);
    EXPECT_EQ(m.stats.edges, 0);
}

TEST_F(SKPReaderTest, modelWithoutLayersGetsLayer0AndNamesThatAreNotUTF8AreRepaired) {
    SKPModel m = load(writeScene({{"materials", {{{"nameHex", "4fC328"}}, {{"nameHex", "e282ac"}}}},
                                  {"entities", {{"faceRow", 1}}}}));
    EXPECT_EQ(m.layers, (std::vector<Layer>{{"Layer0", true, std::nullopt}}));
    EXPECT_EQ(m.root.meshes.at(0).layer, 0);
    EXPECT_EQ(m.materials.at(0).name, "O\xEF\xBF\xBD(");
    EXPECT_EQ(m.materials.at(1).name, "\xE2\x82\xAC");
}

TEST_F(SKPReaderTest, concurrentLoadsTakeTheLibraryOneAtATime) {
    // The stand-in refuses a second open model, as the real library cannot serve two loads.
    std::vector<std::thread> threads;
    std::atomic<int> loaded = 0;
    for (int t = 0; t < 4; ++t)
        threads.emplace_back([&] {
            for (int i = 0; i < 3; ++i) {
                try {
                    if (SKPReader::load(fixture("hierarchy.json")).stats.faces == 3) ++loaded;
                } catch (const SKPError&) {
                }
            }
        });
    for (std::thread& t : threads) t.join();
    EXPECT_EQ(loaded, 12);
    EXPECT_EQ(liveHandles(), 0);
}

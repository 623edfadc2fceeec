#include "remote/OSCQueryParameters.h"

#include <gtest/gtest.h>

#include <algorithm>

#include "DocumentModelFixture.h"
#include "vocabulary/Rendering.h"

using namespace vistrel;
using nlohmann::json;
using vistrel::test::DocumentModelTest;

namespace {

const OSCQueryParameterSpec& row(const std::vector<OSCQueryParameterSpec>& rows,
                                 const std::string& path) {
    for (const auto& r : rows)
        if (r.path == path) return r;
    throw std::runtime_error("no row " + path);
}

}  // namespace

TEST_F(DocumentModelTest, withoutADocumentEveryRowReportsItsFallback) {
    auto rows = app::oscQueryParameters(nullptr);
    ASSERT_EQ(rows.size(), 43u);
    const Float3 c = viewport::Rendering::defaultCustomBackdropColor;
    for (auto [path, expected] : std::vector<std::pair<std::string, json>>{
             {"/vistrel/camera/lookat", {0.0, 0.0, 0.0, 0.0, 1.0, 0.0}},
             {"/vistrel/camera/focal", {38.0}},
             {"/vistrel/camera/exposure", {-0.62}},
             {"/vistrel/camera/view", {"iso"}},
             {"/vistrel/scene/name", {""}},
             {"/vistrel/sun/angles", {-135.0, 45.0}},
             {"/vistrel/backdrop/color", {double(c.x), double(c.y), double(c.z), 1.0}}})
        EXPECT_EQ(row(rows, path).values, expected) << path;
    EXPECT_EQ(std::ranges::count(rows, std::string("I"), &OSCQueryParameterSpec::typeTag), 5);
    for (const auto& r : rows) {
        EXPECT_EQ(r.access, r.typeTag == "I" ? 2 : 3) << r.path;
        EXPECT_EQ(r.values.size(), r.typeTag == "I" ? 0 : r.typeTag.size()) << r.path;
        EXPECT_EQ(r.unit.has_value(), r.path == "/vistrel/backdrop/color") << r.path;
    }
    EXPECT_EQ(row(rows, "/vistrel/camera/x").max, 100.0);
    EXPECT_EQ(row(rows, "/vistrel/camera/ortho_scale").max, 200.0);
}

TEST_F(DocumentModelTest, sceneIndexRangeCoversTheScenesAndAtLeastOne) {
    for (auto [count, upper] : {std::pair{0, 0.0}, {1, 0.0}, {5, 4.0}}) {
        model.reset();
        std::vector<Scene> scenes;
        for (int i = 0; i < count; ++i) scenes.push_back({"Scène " + std::to_string(i), {}, {}});
        present(test::groupedModel(scenes));
        if (count == 5) doc().selectScene(3);
        auto rows = app::oscQueryParameters(&doc());
        EXPECT_EQ(row(rows, "/vistrel/scene/index").max, upper) << count;
        EXPECT_EQ(row(rows, "/vistrel/scene/name").values,
                  json::array({count == 5 ? "Scène 3" : ""}));
    }
}

TEST_F(DocumentModelTest, rowsReportTheLiveDocument) {
    present(test::groupedModel());
    doc().setCameraFOV(50);
    doc().setShadingStyle(viewport::ShadingStyle::clay);
    doc().setAmbientOcclusionIntensity(1.5f);
    if (doc().ambientOcclusionEnabled()) doc().toggleAmbientOcclusion();
    doc().viewport().setCameraPose(Float3{1, 2, 3}, 270.0f, -30.0f, 4.0f);
    doc().syncCameraStateFromViewport();
    ASSERT_NEAR(doc().cameraYaw(), 270.0f, 1e-3);

    auto rows = app::oscQueryParameters(&doc());
    EXPECT_EQ(row(rows, "/vistrel/camera/fov").values, json::array({50.0}));
    EXPECT_NEAR(row(rows, "/vistrel/camera/focal").values[0].get<double>(), 25.74, 0.01);
    EXPECT_EQ(row(rows, "/vistrel/style").values, json::array({"clay"}));
    EXPECT_EQ(row(rows, "/vistrel/ssao").values, json::array({0.0}));
    EXPECT_NEAR(row(rows, "/vistrel/camera/yaw").values[0].get<double>(), -90.0, 1e-3);
    // The target lies 4 m ahead, 30 degrees down towards -Y; lookat ends with it.
    json target = row(rows, "/vistrel/camera/target").values;
    EXPECT_NEAR(target[1].get<double>(), 2 - 4 * std::cos(M_PI / 6), 1e-4);
    EXPECT_NEAR(target[2].get<double>(), 3 - 4 * std::sin(M_PI / 6), 1e-4);
    EXPECT_EQ(row(rows, "/vistrel/camera/lookat").values[5], target[2]);
    EXPECT_EQ(row(rows, "/vistrel/light/x").min, doc().pointLightCoordinateRange().lower);
    doc().toggleAmbientOcclusion();
    EXPECT_EQ(row(app::oscQueryParameters(&doc()), "/vistrel/ssao").values, json::array({1.5}));
}

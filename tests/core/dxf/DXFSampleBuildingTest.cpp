#include "DXFSampleBuilding.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <set>

#include "TestEnv.h"
#include "cad/CADReader.h"
#include "model/LayerGrouping.h"
#include "scene/ViewportScene.h"

using namespace vistrel;

// The built-in sample is what a newcomer sees first: it must read back as a 3D house in
// metres, with its layers grouped by storey and its fixtures taken for lights under the sun.
TEST(DXFSampleBuilding, readsBackAsAHouseWithGroupedLayersAndLightFixtures) {
    test::TempDir dir;
    const auto path = dir / "sample.dxf";
    const auto figures = tools::writeDXFSampleBuilding(path);
    EXPECT_LT(figures.bytes, 2'000'000u);
    EXPECT_EQ(figures.bytes, std::filesystem::file_size(path));

    SKPModel model = CADReader::load(path, SKPFileInfo::read(path), {}, {});
    EXPECT_FALSE(model.isPlanar2D());
    const Float3 size = model.size();
    EXPECT_GT(size.x, 12);
    EXPECT_LT(size.x, 30);
    EXPECT_GT(size.z, 8);  // two storeys under a pitched roof
    EXPECT_LT(size.z, 12);

    ASSERT_EQ(int(model.layers.size()), figures.layers);
    EXPECT_EQ(model.layers[0].name, "0");
    EXPECT_TRUE(std::all_of(model.layers.begin(), model.layers.end(),
                            [](const Layer& l) { return l.isVisible; }));
    std::set<std::string> groups;
    for (const LayerGroup& g : buildLayerGroups(model.layers))
        if (!g.isSingle()) groups.insert(g.name);
    EXPECT_EQ(groups, (std::set<std::string>{"Site", "Level 0", "Level 1", "Roof"}));

    std::set<std::string> blocks;
    for (const Definition& d : model.definitions) blocks.insert(d.name);
    for (const char* furniture : {"SOFA", "CHAIR", "BED-1600", "TREE", "WINDOW-1400x1200"})
        EXPECT_TRUE(blocks.contains(furniture)) << furniture;

    viewport::ViewportScene scene(std::move(model));
    std::multiset<std::string> lights;
    for (const auto& l : scene.detectedSceneLights()) lights.insert(l.name);
    EXPECT_EQ(lights.count("CEILING-LAMP"), 6u);
    EXPECT_EQ(lights.count("WALL-LAMP"), 1u);
    EXPECT_EQ(lights.count("BOLLARD-LIGHT"), 2u);
    EXPECT_EQ(lights.size(), 9u);  // nothing else passes for a fixture
    EXPECT_EQ(scene.lightingMode(), viewport::LightingMode::sun);
    EXPECT_TRUE(scene.sun()->light->castsShadow);
}

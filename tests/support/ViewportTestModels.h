// Small models built in code for the viewport tests.
#pragma once

#include <gtest/gtest.h>

#include <filesystem>
#include <optional>
#include <string>
#include <vector>

#include "model/SKPModel.h"
#include "model/SyntheticModel.h"

namespace vistrel::test {

inline void expectNear(Float3 a, Float3 b, float tolerance = 1e-5f) {
    EXPECT_NEAR(a.x, b.x, tolerance);
    EXPECT_NEAR(a.y, b.y, tolerance);
    EXPECT_NEAR(a.z, b.z, tolerance);
}

inline SKPModel makeModel(Definition root, std::vector<Definition> definitions,
                          std::vector<Material> materials, std::vector<Layer> layers,
                          Float3 boundsMin, Float3 boundsMax, const std::string& fileName,
                          Stats stats = {}, std::optional<Camera> camera = std::nullopt) {
    SKPFileInfo info;
    info.url = std::filesystem::temp_directory_path() / fileName;
    if (layers.empty()) layers.push_back({"Layer0", true, std::nullopt});
    return SKPModel(std::move(root), std::move(definitions), std::move(materials),
                    std::move(layers), {}, camera, boundsMin, boundsMax, stats, std::move(info),
                    std::nullopt, std::nullopt);
}

// One unit cube of the synthetic model centred on the origin, default material, no camera.
inline SKPModel centredCube() {
    Definition root;
    root.children.push_back(
        {0, Float4x4::translation({-0.5f, -0.5f, -0.5f}), 0, false, std::nullopt, "Cube"});
    return makeModel(std::move(root), {SyntheticModel::cube().definitions[0]}, {}, {},
                     {-0.5f, -0.5f, -0.5f}, {0.5f, 0.5f, 0.5f}, "Centred.skp",
                     Stats{6, 12, 12, 1, 1, 0});
}

inline Mesh triangleMesh(Float3 a, Float3 b, Float3 c, int layer = 0,
                         std::optional<int> material = std::nullopt) {
    Mesh m;
    m.layer = layer;
    m.material = material;
    m.positions = {a, b, c};
    m.indices = {0, 1, 2};
    return m;
}

// A square 2 * half wide at height z, facing up.
inline Mesh square(int layer, float z, float half = 5) {
    Mesh m;
    m.layer = layer;
    m.positions = {{-half, -half, z}, {half, -half, z}, {half, half, z}, {-half, half, z}};
    m.normals.assign(4, {0, 0, 1});
    m.indices = {0, 1, 2, 0, 2, 3};
    return m;
}

// A 40 x 40 m floor on layer 1 with an edge along its south side, and a 2 m block 2 m above
// its middle on layer 2.
inline SKPModel floorModel() {
    Definition root{
        "", {square(1, 0, 20), square(2, 2, 1)}, {{1, {{-20, -20, 0}, {20, -20, 0}}}}, {}};
    return makeModel(std::move(root), {}, {}, {{"0", true, {}}, {"1", true, {}}, {"2", true, {}}},
                     {-20, -20, 0}, {20, 20, 2}, "floor.skp", Stats{2, 4, 1, 0, 0, 0});
}

}  // namespace vistrel::test

// Small models built in code for the vector PDF tests.
#pragma once

#include <string>
#include <vector>

#include "model/SKPModel.h"
#include "model/SyntheticModel.h"

namespace vistrel::test {

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

// The unit cube of the synthetic model, its definition as the root's only instance.
inline Definition unitCubeDefinition() {
    return SyntheticModel::cube().definitions[0];
}

// One unit cube centred on the origin, default material, no camera of its own.
inline SKPModel centredCube() {
    Definition root;
    root.children.push_back(
        {0, Float4x4::translation({-0.5f, -0.5f, -0.5f}), 0, false, std::nullopt, "Cube"});
    Stats stats{6, 12, 12, 1, 1, 0};
    return makeModel(std::move(root), {unitCubeDefinition()}, {}, {}, {-0.5f, -0.5f, -0.5f},
                     {0.5f, 0.5f, 0.5f}, "Centred.skp", stats);
}

// One triangle in the root, on `layer`, with the given material.
inline Mesh triangleMesh(Float3 a, Float3 b, Float3 c, int layer = 0,
                         std::optional<int> material = std::nullopt) {
    Mesh m;
    m.layer = layer;
    m.material = material;
    m.positions = {a, b, c};
    m.indices = {0, 1, 2};
    return m;
}

}  // namespace vistrel::test

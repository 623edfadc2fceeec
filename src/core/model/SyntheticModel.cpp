#include "model/SyntheticModel.h"

#include <filesystem>

namespace vistrel::SyntheticModel {

namespace {

struct Face {
    Float3 normal, origin, u, v;
};

constexpr Face kFaces[6] = {
    {{0, 0, -1}, {0, 0, 0}, {0, 1, 0}, {1, 0, 0}}, {{0, 0, 1}, {0, 0, 1}, {1, 0, 0}, {0, 1, 0}},
    {{0, -1, 0}, {0, 0, 0}, {1, 0, 0}, {0, 0, 1}}, {{0, 1, 0}, {0, 1, 0}, {0, 0, 1}, {1, 0, 0}},
    {{-1, 0, 0}, {0, 0, 0}, {0, 0, 1}, {0, 1, 0}}, {{1, 0, 0}, {1, 0, 0}, {0, 1, 0}, {0, 0, 1}},
};

constexpr int kSegments[12][2] = {{0, 1}, {2, 3}, {4, 5}, {6, 7}, {0, 2}, {1, 3},
                                  {4, 6}, {5, 7}, {0, 4}, {1, 5}, {2, 6}, {3, 7}};

}  // namespace

SKPModel cube() {
    Mesh mesh;
    mesh.layer = 0;
    mesh.positions.reserve(24);
    mesh.normals.reserve(24);
    mesh.indices.reserve(36);
    for (const Face& f : kFaces) {
        uint32_t b = uint32_t(mesh.positions.size());
        mesh.positions.insert(mesh.positions.end(),
                              {f.origin, f.origin + f.u, f.origin + f.u + f.v, f.origin + f.v});
        mesh.normals.insert(mesh.normals.end(), 4, f.normal);
        mesh.indices.insert(mesh.indices.end(), {b, b + 1, b + 2, b, b + 2, b + 3});
    }

    EdgeSet edges;
    edges.layer = 0;
    edges.positions.reserve(24);
    auto corner = [](int i) {
        return Float3{float(i & 1), float((i >> 1) & 1), float((i >> 2) & 1)};
    };
    for (auto& s : kSegments) {
        edges.positions.push_back(corner(s[0]));
        edges.positions.push_back(corner(s[1]));
    }

    Definition cubeDef{"Cube", {std::move(mesh)}, {std::move(edges)}, {}};

    Definition root;
    root.name = "Modèle";
    root.children.push_back({0, Float4x4::identity(), 0, false, std::nullopt, "Cube 1"});
    root.children.push_back({0, Float4x4::translation({1.5f, 0, 0}), 1, false, 0, "Cube 2"});

    Material amber{"Ambre", {1.0f, 0.706f, 0.329f, 1.0f}, 1.0f, false, std::nullopt, {1, 1}};
    std::vector<Layer> layers{{"Calque 0", true, std::nullopt}, {"Décor", true, std::nullopt}};

    Camera camera{{4.5f, -3.5f, 3.0f}, {1.25f, 0.5f, 0.5f}, {0, 0, 1}, true, 35.0f, 10.0f};
    Scene scene{"Vue iso", camera, std::vector<int>{}};

    Stats stats{12, 24, 24, 2, 1, 0};

    SKPFileInfo info;
    info.url = std::filesystem::temp_directory_path() / "Cube.skp";
    info.fileSize = 0;
    info.version = "23.0.0";
    info.versionLabel = "SketchUp 2023";

    return SKPModel(std::move(root), {std::move(cubeDef)}, {amber}, std::move(layers), {scene},
                    camera, {0, 0, 0}, {2.5f, 1, 1}, stats, std::move(info), std::nullopt,
                    std::nullopt);
}

}  // namespace vistrel::SyntheticModel

#include "GeneratedModel.h"

#include <cmath>
#include <string>

namespace vistrel::bench {

namespace {

// A 16 x 16 grid of quads (512 triangles) bent a little per definition, plus its outline.
Definition leaf(int d, int layers, int materials) {
    const int n = 16;
    Mesh m;
    m.layer = d % layers;
    if (d % 3) m.material = d % materials;
    m.positions.reserve((n + 1) * (n + 1));
    m.normals.reserve((n + 1) * (n + 1));
    for (int y = 0; y <= n; ++y)
        for (int x = 0; x <= n; ++x) {
            float fx = float(x) / n, fy = float(y) / n;
            m.positions.push_back({fx, fy, 0.1f * float(d % 7) * fx * fy});
            m.normals.push_back(normalize(Float3{0.01f, 0.02f, 1}));
        }
    for (int y = 0; y < n; ++y)
        for (int x = 0; x < n; ++x) {
            uint32_t a = uint32_t(y * (n + 1) + x), b = a + 1, c = a + n + 1, e = c + 1;
            m.indices.insert(m.indices.end(), {a, b, e, a, e, c});
        }
    EdgeSet edges;
    edges.layer = m.layer;
    for (int i = 0; i < n; ++i) {
        float t0 = float(i) / n, t1 = float(i + 1) / n;
        edges.positions.insert(edges.positions.end(),
                               {{t0, 0, 0}, {t1, 0, 0}, {0, t0, 0}, {0, t1, 0}});
    }
    return {"leaf" + std::to_string(d), {std::move(m)}, {std::move(edges)}, {}};
}

}  // namespace

SKPModel generateModel(int definitions, int groups, int perGroup) {
    const int layerCount = 48, materialCount = 24;
    std::vector<Definition> defs;
    for (int d = 0; d < definitions; ++d) defs.push_back(leaf(d, layerCount, materialCount));
    Definition root;
    const int side = int(std::ceil(std::sqrt(double(groups * perGroup))));
    int placed = 0;
    for (int g = 0; g < groups; ++g) {
        Definition group{"group" + std::to_string(g), {}, {}, {}};
        for (int k = 0; k < perGroup; ++k, ++placed) {
            Float4x4 t = Float4x4::translation(
                {float(placed % side) * 1.2f, float(placed / side) * 1.2f, 0});
            if (k % 5 == 0) t(0, 0) = -1;  // some mirrored instances
            group.children.push_back(
                {(g * 7 + k * 13) % definitions, t, (k % 4) ? 0 : k % layerCount, false,
                 k % 2 ? std::optional<int>(k % materialCount) : std::nullopt, ""});
        }
        defs.push_back(std::move(group));
        root.children.push_back(
            {definitions + g, Float4x4::identity(), g % layerCount, true, {}, ""});
    }
    std::vector<Layer> layers;
    for (int i = 0; i < layerCount; ++i) layers.push_back({"L" + std::to_string(i), true, {}});
    std::vector<vistrel::Material> materials;
    for (int i = 0; i < materialCount; ++i)
        materials.push_back({"M" + std::to_string(i),
                             {float(i) / materialCount, 0.5f, 0.5f, 1},
                             1,
                             false,
                             {},
                             {1, 1}});
    Stats stats;
    return SKPModel(std::move(root), std::move(defs), std::move(materials), std::move(layers), {},
                    std::nullopt, {0, 0, 0}, {float(side) * 1.2f, float(side) * 1.2f, 1}, stats, {},
                    {}, {});
}

}  // namespace vistrel::bench

#include "model/SyntheticModel.h"

#include <gtest/gtest.h>

using namespace vistrel;

TEST(SyntheticModel, cubeGeometryIsClosedAndOutwardFacing) {
    SKPModel m = SyntheticModel::cube();
    const Mesh& mesh = m.definitions[0].meshes[0];
    ASSERT_EQ(mesh.positions.size(), 24u);
    ASSERT_EQ(mesh.normals.size(), 24u);
    // Every triangle's winding agrees with its stored normal, and normals point away from the
    // cube's centre: a wrong face table turns the cube inside out in the viewport.
    Float3 centre{0.5f, 0.5f, 0.5f};
    for (size_t t = 0; t < mesh.indices.size(); t += 3) {
        Float3 a = mesh.positions[mesh.indices[t]], b = mesh.positions[mesh.indices[t + 1]],
               c = mesh.positions[mesh.indices[t + 2]];
        Float3 n = mesh.normals[mesh.indices[t]];
        EXPECT_GT(dot(cross(b - a, c - a), n), 0) << "triangle " << t / 3;
        EXPECT_GT(dot((a + b + c) / 3 - centre, n), 0) << "triangle " << t / 3;
    }
    const EdgeSet& edges = m.definitions[0].edges[0];
    ASSERT_EQ(edges.positions.size(), 24u);
    for (size_t i = 0; i < edges.positions.size(); i += 2)
        EXPECT_FLOAT_EQ(length(edges.positions[i + 1] - edges.positions[i]), 1.0f);
    // Second cube: other layer, painted with the model's one material, shifted by 1.5 m.
    const Instance& second = m.root.children[1];
    EXPECT_EQ(second.layer, 1);
    EXPECT_EQ(second.material, 0);
    EXPECT_EQ(second.transform.transformPoint({0, 0, 0}), (Float3{1.5f, 0, 0}));
    EXPECT_EQ(m.layers[1].name, "Décor");
    EXPECT_EQ(m.scenes[0].hiddenLayers, std::vector<int>{});
}

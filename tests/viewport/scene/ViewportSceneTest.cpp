#include "scene/ViewportScene.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <map>

#include "ViewportTestModels.h"
#include "model/SyntheticModel.h"

using namespace vistrel;
using namespace vistrel::viewport;

namespace {

// A mesh of `triangles` triangles on `layer`.
Mesh mesh(int layer, int triangles = 1, std::optional<int> material = std::nullopt) {
    Mesh m;
    m.layer = layer;
    m.material = material;
    for (uint32_t b = 0; b < uint32_t(3 * triangles); b += 3) {
        m.positions.insert(m.positions.end(), {{0, 0, 0}, {1, 0, 0}, {0, 1, 0}});
        m.normals.insert(m.normals.end(), 3, Float3{0, 0, 1});
        m.indices.insert(m.indices.end(), {b, b + 1, b + 2});
    }
    return m;
}

Instance child(int definition, int layer, std::optional<int> material = std::nullopt,
               Float4x4 transform = {}) {
    return {definition, transform, layer, false, material, ""};
}

SKPModel modelOf(Definition root, std::vector<Definition> defs, int layers, int materials = 0) {
    return test::makeModel(std::move(root), std::move(defs),
                           std::vector<vistrel::Material>(
                               materials, {"M", {0.5f, 0.5f, 0.5f, 1}, 1, false, {}, {1, 1}}),
                           std::vector<Layer>(layers, Layer{"L", true, {}}), {0, 0, 0},
                           {10, 10, 10}, "scene.skp");
}

}  // namespace

TEST(ViewportScene, meshesFeedTheSetOfTheirLayerAndEveryEnclosingLayer) {
    // A definition with meshes on layers 2 and 5, placed in a group on layer 7 and once more
    // directly on layer 3 (with a mesh also on 3).
    Definition part{"part", {mesh(2), mesh(5)}, {}, {}};
    Definition onThree{"three", {mesh(3)}, {}, {}};
    Definition group{"group", {}, {}, {child(0, 7)}};
    Definition root{"", {}, {}, {child(2, 7), child(1, 3), child(0, 0), child(0, 0)}};
    std::vector<double> progress;
    ViewportScene s(modelOf(root, {part, onThree, group}, 8),
                    [&](double f) { progress.push_back(f); });
    // The assembly reports a rising fraction that ends at 1.
    ASSERT_GE(progress.size(), 2u);
    EXPECT_TRUE(std::is_sorted(progress.begin(), progress.end()));
    EXPECT_GT(progress.front(), 0);
    EXPECT_EQ(progress.back(), 1);
    // Placements of the part: in the group (layers 7, then 7 again), and twice on 0.
    std::vector<std::vector<int>> placed;
    for (const auto& p : s.placements())
        if (p.definition == 0) placed.push_back(s.layers(p));
    EXPECT_EQ(placed, (std::vector<std::vector<int>>{{7}, {0}, {0}}));
    std::vector<std::vector<int>> keys;
    for (auto& set : s.layerSets()) keys.push_back(set->layers);
    EXPECT_EQ(keys, (std::vector<std::vector<int>>{{2, 7}, {5, 7}, {3}, {0, 2}, {0, 5}}));
    // The same definition placed twice feeds the same set with two placements.
    EXPECT_EQ(s.findLayerSet({0, 2})->placements.size(), 2u);
    EXPECT_EQ(s.findLayerSet({3})->placements.size(), 1u);  // [3], never [3, 3]
    ASSERT_EQ(s.setsContaining(7).size(), 2u);
    const std::map<std::vector<int>, size_t> expected{
        {{2, 7}, 1}, {{5, 7}, 1}, {{3}, 1}, {{0, 2}, 2}, {{0, 5}, 2}};
    for (auto& set : s.layerSets()) {
        ASSERT_TRUE(set->node);
        size_t triangles = 0;
        for (auto& c : set->node->children()) triangles += c->geometry->primitiveCount();
        EXPECT_EQ(triangles, expected.at(set->layers)) << set->node->name;
    }
}

TEST(ViewportScene, materialsInheritDownwardAndOwnMaterialsWin) {
    // root -> A (paint 4) -> B (no paint) -> meshes: one bare, one with 9; and C (paint 2) below A.
    Definition leaf{"leaf", {mesh(0), mesh(1, 1, 9)}, {}, {}};
    Definition c{"c", {mesh(2)}, {}, {}};
    Definition b{"b", {}, {}, {child(0, 0)}};
    Definition a{"a", {}, {}, {child(2, 0), child(1, 0, 2)}};
    Definition root{"", {mesh(3)}, {}, {child(3, 0, 4)}};
    ViewportScene s(modelOf(root, {leaf, c, b, a}, 4, 10));
    auto materialOfSet = [&](std::vector<int> key) {
        return s.findLayerSet(key)->node->children().front()->material();
    };
    EXPECT_EQ(materialOfSet({0}), s.scnMaterial(4, ViewportScene::UVs::none));  // inherited 4
    EXPECT_EQ(materialOfSet({0, 1}), s.scnMaterial(9, ViewportScene::UVs::none));
    EXPECT_EQ(materialOfSet({0, 2}), s.scnMaterial(2, ViewportScene::UVs::none));
    EXPECT_EQ(materialOfSet({3}), s.defaultMaterial());
}

// A mirror flips the winding with the positions; a stretch turns normals by the inverse
// transpose. Either way the normal stays unit length and agrees with the winding.
TEST(ViewportScene, transformedNormalsStayUnitAndAgreeWithTheWinding) {
    Mesh slanted = test::triangleMesh({0, 0, 0}, {1, 0, 1}, {0, 1, 0});
    slanted.normals.assign(3, normalize(Float3{-1, 0, 1}));
    Float4x4 mirror, stretch;
    mirror(0, 0) = -1;
    mirror(0, 3) = 5;
    stretch(0, 0) = 4;
    for (const auto& [part, transform] : {std::pair{mesh(0), mirror}, {slanted, stretch}}) {
        Definition root{"", {}, {}, {child(0, 0, {}, transform)}};
        ViewportScene s(modelOf(root, {Definition{"part", {part}, {}, {}}}, 1));
        const Geometry& g = *s.faceNodes().at(0).node->geometry;
        ASSERT_EQ(g.indices.size(), 3u);
        EXPECT_EQ(g.positions[1].x, 4);  // x = 1 placed at 4 by either transform
        const Float3 a = g.positions[g.indices[0]], b = g.positions[g.indices[1]],
                     c = g.positions[g.indices[2]];
        EXPECT_NEAR(dot(normalize(cross(b - a, c - a)), g.normals[0]), 1.0f, 1e-5f);
        EXPECT_NEAR(length(g.normals[0]), 1.0f, 1e-5f);
    }
}

TEST(ViewportScene, splitClosesChunksAtTheIndexLimitInKeyOrder) {
    auto run = [](std::vector<ViewportScene::SplitEntry> entries, bool faces) {
        std::vector<ViewportScene::Chunk> chunks;
        auto material = faces ? std::make_shared<viewport::Material>() : nullptr;
        ViewportScene::split(entries, material, false, nullptr, chunks);
        return chunks;
    };
    using E = ViewportScene::SplitEntry;
    // 700000 and 100000 indices: two chunks, in key order whatever the input order.
    auto two = run({E{{0, 1}, 9, 100000 / 3, 10}, E{{0, 0}, 3, 700000 / 3, 10}}, true);
    ASSERT_EQ(two.size(), 2u);
    EXPECT_EQ(two[0].pieces[0].item, 0);
    EXPECT_EQ(two[1].pieces[0].item, 1);
    // A single oversized piece stays whole.
    EXPECT_EQ(run({E{{0, 0}, 0, 800000 / 3, 3}}, true).size(), 1u);
    // Exactly at the limit: 250000 triangles fit, one more triangle opens a new chunk.
    EXPECT_EQ(run({E{{0, 0}, 0, 249999, 1}, E{{0, 1}, 1, 1, 1}}, true).size(), 1u);
    EXPECT_EQ(run({E{{0, 0}, 0, 250000, 1}, E{{0, 1}, 1, 1, 1}}, true).size(), 2u);
    // Edges are weighed by 3 in the test but count 2 indices per segment.
    auto edges = run({E{{0, 0}, 0, 200000, 1}, E{{0, 1}, 1, 117000, 1}}, false);
    ASSERT_EQ(edges.size(), 2u);
    EXPECT_EQ(edges[0].indices, 400000);
    // Stable for equal keys.
    auto stable = run({E{{0, 5}, 1, 1, 1}, E{{0, 2}, 1, 1, 1}, E{{0, 7}, 0, 1, 1}}, true);
    ASSERT_EQ(stable[0].pieces.size(), 3u);
    std::vector<int> order;
    for (auto& piece : stable[0].pieces) order.push_back(piece.item);
    EXPECT_EQ(order, (std::vector<int>{7, 5, 2}));
}

TEST(ViewportScene, hiddenLayersAreNotBuiltUntilShown) {
    Definition root{
        "", {mesh(0), mesh(1, 2)}, {EdgeSet{1, {{0, 0, 0}, {1, 0, 0}}}, EdgeSet{0, {}}}, {}};
    SKPModel m = modelOf(root, {}, 2);
    m.layers[1].isVisible = false;
    ViewportScene s(std::move(m));
    ViewportScene::LayerSet* hidden = s.findLayerSet({1});
    ASSERT_TRUE(hidden);
    EXPECT_FALSE(hidden->node);
    EXPECT_EQ(s.faceNodes().size(), 1u);
    EXPECT_TRUE(s.edgeNodes().empty());  // the empty edge set on layer 0 adds nothing
    s.setLayer(1, true);
    ASSERT_TRUE(hidden->node);
    EXPECT_EQ(s.faceNodes().size(), 2u);
    ASSERT_EQ(s.edgeChunks().size(), 1u);
    EXPECT_EQ(s.edgeChunks()[0].vertexCount, 2);
    EXPECT_EQ(s.edgeNodes()[0]->geometry->primitiveCount(), 1u);
    EXPECT_EQ(s.setOfFaceNode(s.faceNodes()[1].node.get()), hidden);
}

// Its own test binary: it replaces the global allocation functions to count heap use.
#include <gtest/gtest.h>

#include "AllocationCounter.h"

#include "ViewportTestModels.h"
#include "pdf/VectorPDFLighting.h"
#include "pdf/VectorPDFProjector.h"
#include "pdf/VectorPDFVisitor.h"

using vistrel::test::allocations;
using vistrel::test::counting;

using namespace vistrel;
using namespace vistrel::viewport;
using namespace vistrel::viewport::VectorPDFExporter;

namespace {

// A square sheet of n by n cells, two triangles and two edges each, placed twice by instances.
SKPModel sheet(int n) {
    Mesh mesh;
    EdgeSet edges;
    for (int y = 0; y <= n; ++y)
        for (int x = 0; x <= n; ++x) {
            mesh.positions.push_back({float(x) / n, float(y) / n, 0});
            mesh.normals.push_back({0, 0, 1});
        }
    for (int y = 0; y < n; ++y)
        for (int x = 0; x < n; ++x) {
            const uint32_t a = uint32_t(y * (n + 1) + x), b = a + 1, c = a + uint32_t(n) + 1;
            mesh.indices.insert(mesh.indices.end(), {a, b, c + 1, a, c + 1, c});
            edges.positions.insert(edges.positions.end(), {mesh.positions[a], mesh.positions[b],
                                                           mesh.positions[a], mesh.positions[c]});
        }
    Definition piece;
    piece.meshes.push_back(std::move(mesh));
    piece.edges.push_back(std::move(edges));
    Definition root;
    root.children.push_back({0, Float4x4::identity(), 0, false, std::nullopt, "A"});
    root.children.push_back({0, Float4x4::translation({0, 0, 1}), 0, false, std::nullopt, "B"});
    const int64_t cells = int64_t(n) * n;
    return test::makeModel(std::move(root), {std::move(piece)}, {}, {}, {0, 0, 0}, {1, 1, 1},
                           "Sheet.skp", Stats{cells * 2, cells * 4, cells * 4, 2, 1, 0});
}

long allocationsOfWalk(const SKPModel& model) {
    Options o;
    o.pose.position = {0.5f, -3, 3};
    o.pose.yaw = 1.5707964f;
    o.pose.pitch = -0.6f;
    o.pose.distance = 4;
    const Projector projector = Projector::make(o.pose, true, 35, 1, 800, 600);
    const LightingRig lighting = LightingRig::make(o, model);
    const auto materials = resolveMaterialColors(model);
    VectorPDFVisitor visitor(model, o, projector, lighting, materials);
    allocations = 0;
    counting = true;
    visitor.run(true, true);
    counting = false;
    EXPECT_GT(visitor.triangles.size(), size_t(model.stats.triangles / 2));
    return allocations.exchange(0);
}

}  // namespace

TEST(VectorPDFAllocationTest, modelWalkAllocatesNothingPerTriangle) {
    // Proves the counter counts before trusting a small number from it.
    counting = true;
    vistrel::test::allocateOnce();
    counting = false;
    ASSERT_EQ(allocations.exchange(0), 1);

    const long small = allocationsOfWalk(sheet(4));
    const long large = allocationsOfWalk(sheet(200));  // 160,000 triangles
    EXPECT_LE(large, small + 2);
    EXPECT_LT(large, 16);
}

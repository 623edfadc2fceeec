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
    Definition piece{"sheet", {Mesh{}}, {EdgeSet{}}, {}};
    Mesh& mesh = piece.meshes[0];
    for (int y = 0; y < n; ++y)
        for (int x = 0; x < n; ++x) {
            const Float3 a{float(x) / n, float(y) / n, 0}, b = a + Float3{1.0f / n, 0, 0},
                                                           c = a + Float3{0, 1.0f / n, 0},
                                                           d = b + Float3{0, 1.0f / n, 0};
            const uint32_t i = uint32_t(mesh.positions.size());
            mesh.positions.insert(mesh.positions.end(), {a, b, d, c});
            mesh.normals.insert(mesh.normals.end(), 4, Float3{0, 0, 1});
            mesh.indices.insert(mesh.indices.end(), {i, i + 1, i + 2, i, i + 2, i + 3});
            piece.edges[0].positions.insert(piece.edges[0].positions.end(), {a, b, a, c});
        }
    Definition root;
    root.children.push_back({0, Float4x4::identity(), 0, false, std::nullopt, "A"});
    root.children.push_back({0, Float4x4::translation({0, 0, 1}), 0, false, std::nullopt, "B"});
    const int64_t cells = int64_t(n) * n;
    return test::makeModel(std::move(root), {std::move(piece)}, {}, {}, {0, 0, 0}, {1, 1, 1},
                           "Sheet.skp", Stats{cells * 2, cells * 4, cells * 4, 2, 1, 0});
}

long allocationsOfWalk(const SKPModel& model) {
    Options o;
    o.pose = {{0.5f, -3, 3}, 1.5707964f, -0.6f, 4};
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
    ASSERT_TRUE(vistrel::test::countsAllocations());
    const long small = allocationsOfWalk(sheet(4));
    const long large = allocationsOfWalk(sheet(200));  // 160,000 triangles
    EXPECT_LE(large, small + 2);
    EXPECT_LT(large, 16);
}

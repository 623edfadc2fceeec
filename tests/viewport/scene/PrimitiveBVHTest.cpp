#include "scene/PrimitiveBVH.h"

#include <gtest/gtest.h>

#include <cmath>
#include <random>

using namespace vistrel;
using namespace vistrel::viewport;

namespace {

// `count` triangles scattered in a 20 m cube, each `size` across.
Geometry scatter(std::mt19937& rng, size_t count, float size) {
    std::uniform_real_distribution<float> u(-10, 10), near(-size / 2, size / 2);
    Geometry g;
    g.positions = Buffer<Float3>(count * 3);
    g.indices = Buffer<uint32_t>(count * 3);
    for (size_t p = 0; p < count; ++p) {
        const Float3 c{u(rng), u(rng), u(rng)};
        for (size_t k = 0; k < 3; ++k) {
            g.positions[3 * p + k] = c + Float3{near(rng), near(rng), near(rng)};
            g.indices[3 * p + k] = uint32_t(3 * p + k);
        }
    }
    return g;
}

// Möller–Trumbore over every triangle.
std::optional<float> bruteForceHit(const Geometry& g, Float3 o, Float3 d, float maxT) {
    std::optional<float> best;
    for (size_t t = 0; t + 2 < g.indices.size(); t += 3) {
        const Float3 p0 = g.positions[g.indices[t]], e1 = g.positions[g.indices[t + 1]] - p0,
                     e2 = g.positions[g.indices[t + 2]] - p0, pv = cross(d, e2), tv = o - p0,
                     qv = cross(tv, e1);
        const float det = dot(e1, pv), u = dot(tv, pv) / det, v = dot(d, qv) / det,
                    dist = dot(e2, qv) / det;
        if (std::fabs(det) < 1e-12f || u < 0 || u > 1 || v < 0 || u + v > 1) continue;
        if (dist >= 0 && dist <= maxT && (!best || dist < *best)) best = dist;
    }
    return best;
}

}  // namespace

TEST(PrimitiveBVH, nearestHitMatchesBruteForceAcrossGeometries) {
    std::mt19937 rng(11);
    std::uniform_real_distribution<float> u(-20, 20);
    const Geometry a = scatter(rng, 1500, 1.2f), b = scatter(rng, 1500, 1.2f);
    PrimitiveBVH bvh({&a, &b}, 5);
    std::vector<uint8_t> both(7, 1), onlyB(7, 1);
    onlyB[5] = 0;
    int hits = 0;
    for (int r = 0; r < 400; ++r) {
        const Float3 o{u(rng), u(rng), u(rng)}, d = normalize(Float3{u(rng), u(rng), u(rng)});
        const auto ea = bruteForceHit(a, o, d, 50), eb = bruteForceHit(b, o, d, 50);
        const bool bNearer = eb && (!ea || *eb < *ea);
        const auto got = bvh.intersect(o, d, 50, both);
        ASSERT_EQ(got.has_value(), ea || eb) << r;
        if (got) {
            ++hits;
            EXPECT_NEAR(got->distance, bNearer ? *eb : *ea, 1e-4f);
            EXPECT_EQ(got->tag, bNearer ? 6u : 5u);
        }
        // A disabled geometry is looked through.
        const auto gotB = bvh.intersect(o, d, 50, onlyB);
        ASSERT_EQ(gotB.has_value(), eb.has_value());
        EXPECT_TRUE(!gotB || gotB->tag == 6u);
    }
    EXPECT_GT(hits, 20);  // the rays do meet the cloud
}

#include "scene/PrimitiveBVH.h"

#include <gtest/gtest.h>

#include <cmath>
#include <random>
#include <set>

using namespace vistrel;
using namespace vistrel::viewport;

namespace {

std::optional<float> bruteForceHit(const Geometry& g, Float3 o, Float3 d, float maxT) {
    std::optional<float> best;
    for (size_t t = 0; t + 2 < g.indices.size(); t += 3) {
        Float3 p0 = g.positions[g.indices[t]], e1 = g.positions[g.indices[t + 1]] - p0,
               e2 = g.positions[g.indices[t + 2]] - p0;
        Float3 pv = cross(d, e2);
        float det = dot(e1, pv);
        if (std::fabs(det) < 1e-12f) continue;
        Float3 tv = o - p0;
        float u = dot(tv, pv) / det;
        if (u < 0 || u > 1) continue;
        Float3 qv = cross(tv, e1);
        float v = dot(d, qv) / det;
        if (v < 0 || u + v > 1) continue;
        float dist = dot(e2, qv) / det;
        if (dist >= 0 && dist <= maxT && (!best || dist < *best)) best = dist;
    }
    return best;
}

}  // namespace

TEST(PrimitiveBVH, nearestHitMatchesBruteForceAcrossGeometries) {
    std::mt19937 rng(11);
    std::uniform_real_distribution<float> u(-10, 10), small(-0.6f, 0.6f);
    Geometry a, b;
    for (Geometry* g : {&a, &b}) {
        const size_t triangles = 1500;
        g->positions = Buffer<Float3>(triangles * 3);
        g->indices = Buffer<uint32_t>(triangles * 3);
        for (size_t t = 0; t < triangles; ++t) {
            Float3 c{u(rng), u(rng), u(rng)};
            for (size_t k = 0; k < 3; ++k) {
                g->positions[3 * t + k] = c + Float3{small(rng), small(rng), small(rng)};
                g->indices[3 * t + k] = uint32_t(3 * t + k);
            }
        }
    }
    PrimitiveBVH bvh({&a, &b}, 5);
    std::vector<uint8_t> both(7, 1), onlyB(7, 1);
    onlyB[5] = 0;
    int hits = 0;
    for (int r = 0; r < 400; ++r) {
        Float3 o{u(rng) * 2, u(rng) * 2, u(rng) * 2};
        Float3 d = normalize(Float3{u(rng), u(rng), u(rng)});
        auto ea = bruteForceHit(a, o, d, 50), eb = bruteForceHit(b, o, d, 50);
        std::optional<float> expected = ea;
        if (eb && (!expected || *eb < *expected)) expected = eb;
        auto got = bvh.intersect(o, d, 50, both);
        ASSERT_EQ(got.has_value(), expected.has_value()) << r;
        if (got) {
            ++hits;
            EXPECT_NEAR(got->distance, *expected, 1e-4f);
            EXPECT_EQ(got->tag, (eb && (!ea || *eb < *ea)) ? 6u : 5u);
        }
        // A disabled geometry is looked through.
        auto gotB = bvh.intersect(o, d, 50, onlyB);
        ASSERT_EQ(gotB.has_value(), eb.has_value());
        if (gotB) {
            EXPECT_EQ(gotB->tag, 6u);
        }
    }
    EXPECT_GT(hits, 20);  // the rays do meet the cloud
}

TEST(PrimitiveBVH, segmentVisitorReachesEverySegmentNearTheRay) {
    std::mt19937 rng(3);
    std::uniform_real_distribution<float> u(-10, 10);
    Geometry g;
    g.primitive = Geometry::Primitive::lines;
    const size_t segments = 3000;
    g.positions = Buffer<Float3>(segments * 2);
    for (size_t s = 0; s < segments; ++s) {
        Float3 a{u(rng), u(rng), u(rng)};
        g.positions[2 * s] = a;
        g.positions[2 * s + 1] = a + Float3{u(rng), u(rng), u(rng)} * 0.05f;
    }
    PrimitiveBVH bvh({&g}, 0);
    std::vector<uint8_t> enabled{1};
    for (int r = 0; r < 100; ++r) {
        Float3 o{u(rng), u(rng), 15};
        Float3 d = normalize(Float3{u(rng) * 0.05f, u(rng) * 0.05f, -1});
        const float margin = 0.3f, reach = 30;
        std::set<uint32_t> visited;
        bvh.visitSegmentsNear(o, d, reach, margin, enabled, [&](uint32_t tag, uint32_t s) {
            EXPECT_EQ(tag, 0u);
            visited.insert(s);
        });
        // Every segment with an end within the margin of the ray must be among the visited.
        for (uint32_t s = 0; s < segments; ++s)
            for (int k = 0; k < 2; ++k) {
                Float3 p = g.positions[2 * s + k] - o;
                float t = dot(p, d);
                if (t < 0 || t > reach) continue;
                if (length(p - d * t) <= margin) {
                    EXPECT_TRUE(visited.contains(s)) << r << " " << s;
                }
            }
        EXPECT_LT(visited.size(), segments / 4);  // and it prunes
    }
}

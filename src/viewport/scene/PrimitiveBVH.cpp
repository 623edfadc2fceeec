#include "scene/PrimitiveBVH.h"

#include <algorithm>
#include <cassert>
#include <cmath>
#include <limits>

namespace vistrel::viewport {

namespace {

constexpr uint32_t kLeafSize = 4;
constexpr float kInf = std::numeric_limits<float>::infinity();

// Entry distance of the ray into the box, or infinity when it misses within maxDistance.
float slab(Float3 o, Float3 invDir, float maxDistance, Float3 lo, Float3 hi) {
    float t0 = 0, t1 = maxDistance;
    for (int a = 0; a < 3; ++a) {
        float inv = invDir[a], oa = o[a];
        if (std::isinf(inv)) {
            if (oa < lo[a] || oa > hi[a]) return kInf;
            continue;
        }
        float n = (lo[a] - oa) * inv, f = (hi[a] - oa) * inv;
        if (n > f) std::swap(n, f);
        t0 = std::max(t0, n);
        t1 = std::min(t1, f);
        if (t0 > t1) return kInf;
    }
    return t0;
}

Float3 inverse(Float3 d) {
    return {d.x != 0 ? 1 / d.x : kInf, d.y != 0 ? 1 / d.y : kInf, d.z != 0 ? 1 / d.z : kInf};
}

}  // namespace

// Build-time record: contiguous, so the partitions walk memory in order.
struct PrimitiveBVH::BuildPrim {
    Float3 centroid;
    Prim prim;
};

bool rayHitsBox(Float3 origin, Float3 direction, float maxDistance, Float3 boxMin, Float3 boxMax) {
    return slab(origin, inverse(direction), maxDistance, boxMin, boxMax) != kInf;
}

PrimitiveBVH::PrimitiveBVH(std::vector<const Geometry*> geometries, uint32_t firstTag)
    : geometries_(std::move(geometries)), firstTag_(firstTag) {
    const bool lines =
        !geometries_.empty() && geometries_.front()->primitive == Geometry::Primitive::lines;
    verticesPerPrim_ = lines ? 2 : 3;
    size_t total = 0;
    for (const Geometry* g : geometries_) total += g->primitiveCount();
    std::vector<BuildPrim> prims;
    prims.reserve(total);
    for (uint32_t s = 0; s < geometries_.size(); ++s) {
        assert(geometries_[s]->primitive == geometries_.front()->primitive);
        const uint32_t n = uint32_t(geometries_[s]->primitiveCount());
        for (uint32_t t = 0; t < n; ++t) {
            Float3 sum{0, 0, 0};
            for (int k = 0; k < verticesPerPrim_; ++k) sum += vertex({s, t}, k);
            prims.push_back({sum * (1.0f / float(verticesPerPrim_)), {s, t}});
        }
    }
    nodes_.reserve(total ? 2 * (total / kLeafSize + 1) : 1);
    nodes_.push_back({});
    if (total == 0) return;
    build(0, 0, uint32_t(total), prims);
    prims_.resize(total);
    for (size_t k = 0; k < total; ++k) prims_[k] = prims[k].prim;
}

void PrimitiveBVH::build(uint32_t node, uint32_t first, uint32_t count,
                         std::vector<BuildPrim>& prims) {
    Float3 clo{kInf, kInf, kInf}, chi{-kInf, -kInf, -kInf};
    for (uint32_t k = first; k < first + count; ++k) {
        clo = min(clo, prims[k].centroid);
        chi = max(chi, prims[k].centroid);
    }
    const Float3 extent = chi - clo;
    const int axis =
        extent.x > extent.y ? (extent.x > extent.z ? 0 : 2) : (extent.y > extent.z ? 1 : 2);
    if (count <= kLeafSize || !(extent[axis] > 0)) {
        Float3 lo{kInf, kInf, kInf}, hi{-kInf, -kInf, -kInf};
        for (uint32_t k = first; k < first + count; ++k)
            for (int v = 0; v < verticesPerPrim_; ++v) {
                const Float3 p = vertex(prims[k].prim, v);
                lo = min(lo, p);
                hi = max(hi, p);
            }
        nodes_[node] = {lo, hi, first, count};
        return;
    }
    // Split at the middle of the centroids' extent: one linear pass. Clustered centroids that
    // leave a side empty fall back to the median, which always halves.
    const float middle = (clo[axis] + chi[axis]) * 0.5f;
    auto begin = prims.begin() + first, end = begin + count;
    uint32_t half = uint32_t(
        std::partition(begin, end,
                       [axis, middle](const BuildPrim& p) { return p.centroid[axis] < middle; }) -
        begin);
    if (half == 0 || half == count) {
        half = count / 2;
        std::nth_element(begin, begin + half, end, [axis](const BuildPrim& a, const BuildPrim& b) {
            return a.centroid[axis] < b.centroid[axis];
        });
    }
    const uint32_t left = uint32_t(nodes_.size());
    nodes_.push_back({});
    nodes_.push_back({});
    build(left, first, half, prims);
    build(left + 1, first + half, count - half, prims);
    nodes_[node] = {min(nodes_[left].min, nodes_[left + 1].min),
                    max(nodes_[left].max, nodes_[left + 1].max), left, 0};
}

Float3 PrimitiveBVH::vertex(Prim p, int k) const {
    const Geometry& g = *geometries_[p.source];
    if (verticesPerPrim_ == 2) return g.positions[2 * size_t(p.triangle) + size_t(k)];
    return g.positions[g.indices[3 * size_t(p.triangle) + size_t(k)]];
}

std::optional<PrimitiveBVH::Hit> PrimitiveBVH::intersect(
    Float3 o, Float3 d, float maxDistance, const std::vector<uint8_t>& enabled) const {
    assert(verticesPerPrim_ == 3 && "ray hits are for triangles");
    if (prims_.empty()) return std::nullopt;
    const Float3 inv = inverse(d);
    float best = maxDistance;
    std::optional<Hit> hit;
    uint32_t stack[64];
    int top = 0;
    stack[top++] = 0;
    while (top > 0) {
        const Node& n = nodes_[stack[--top]];
        if (slab(o, inv, best, n.min, n.max) == kInf) continue;
        if (n.count == 0) {
            // Nearer child on top of the stack, so `best` shrinks early.
            const Node& a = nodes_[n.first];
            const Node& b = nodes_[n.first + 1];
            const float ta = slab(o, inv, best, a.min, a.max),
                        tb = slab(o, inv, best, b.min, b.max);
            const uint32_t near = ta <= tb ? n.first : n.first + 1;
            const uint32_t far = near == n.first ? n.first + 1 : n.first;
            if (std::max(ta, tb) != kInf) stack[top++] = far;
            if (std::min(ta, tb) != kInf) stack[top++] = near;
            continue;
        }
        for (uint32_t k = n.first; k < n.first + n.count; ++k) {
            const Prim p = prims_[k];
            if (!enabled[firstTag_ + p.source]) continue;
            const Geometry& g = *geometries_[p.source];
            const uint32_t* i = &g.indices[3 * size_t(p.triangle)];
            const Float3 p0 = g.positions[i[0]];
            const Float3 e1 = g.positions[i[1]] - p0, e2 = g.positions[i[2]] - p0;
            const Float3 pv = cross(d, e2);
            const float det = dot(e1, pv);
            if (std::fabs(det) < 1e-12f) continue;  // parallel or degenerate; both sides count
            const float invDet = 1 / det;
            const Float3 tv = o - p0;
            const float u = dot(tv, pv) * invDet;
            if (u < 0 || u > 1) continue;
            const Float3 qv = cross(tv, e1);
            const float v = dot(d, qv) * invDet;
            if (v < 0 || u + v > 1) continue;
            const float t = dot(e2, qv) * invDet;
            if (t >= 0 && t <= best) {
                best = t;
                hit = Hit{t, firstTag_ + p.source};
            }
        }
    }
    return hit;
}

}  // namespace vistrel::viewport

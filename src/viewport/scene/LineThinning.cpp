#include "scene/LineThinning.h"

#include <bit>
#include <cmath>
#include <cstdint>

namespace vistrel::viewport::LineThinning {

namespace {

constexpr float kCells = float(1 << 21);

// The endpoints at both ends of each axis, so that the longest extent picks its own pair.
struct Cluster {
    Float3 low[3];
    Float3 high[3];
    void start(Float3 p) {
        for (int a = 0; a < 3; ++a) low[a] = high[a] = p;
    }
    void add(Float3 p) {
        for (int a = 0; a < 3; ++a) {
            if (p[a] < low[a][a]) low[a] = p;
            if (p[a] > high[a][a]) high[a] = p;
        }
    }
};

}  // namespace

bool thin(const Float3* points, size_t count, Float3 origin, float cell, size_t limit,
          std::vector<Float3>& out) {
    out.clear();
    if (!(cell > 0)) return false;
    const size_t segments = count / 2;
    size_t slots = 16;
    while (slots < 2 * limit + 2) slots *= 2;
    std::vector<uint64_t> keys(slots, ~uint64_t(0));
    std::vector<uint32_t> index(slots);
    std::vector<Cluster> clusters;
    clusters.reserve(limit + 1);
    const float inv = 1 / cell;
    const float cellSquared = cell * cell;
    const int shift = 64 - std::countr_zero(slots);
    size_t kept = 0;
    for (size_t s = 0; s < segments; ++s) {
        const Float3 a = points[2 * s], b = points[2 * s + 1];
        const Float3 d = b - a;
        if (dot(d, d) >= cellSquared) {
            if (++kept + clusters.size() > limit) return out.clear(), false;
            out.push_back(a);
            out.push_back(b);
            continue;
        }
        const Float3 m = (a + b) * 0.5f - origin;
        uint64_t key = 0;
        for (int k = 0; k < 3; ++k) {
            const float c = std::floor(m[k] * inv);
            if (!(c >= 0 && c < kCells)) return out.clear(), false;
            key |= uint64_t(c) << (21 * k);
        }
        size_t slot = size_t((key * 0x9E3779B97F4A7C15ull) >> shift);
        while (keys[slot] != key && keys[slot] != ~uint64_t(0)) slot = (slot + 1) & (slots - 1);
        if (keys[slot] == key) {
            Cluster& c = clusters[index[slot]];
            c.add(a);
            c.add(b);
            continue;
        }
        if (kept + clusters.size() + 1 > limit) return out.clear(), false;
        keys[slot] = key;
        index[slot] = uint32_t(clusters.size());
        clusters.emplace_back().start(a);
        clusters.back().add(b);
    }
    out.reserve(out.size() + 2 * clusters.size());
    for (const Cluster& c : clusters) {
        int axis = 0;
        float extent = -1;
        for (int k = 0; k < 3; ++k)
            if (c.high[k][k] - c.low[k][k] > extent) extent = c.high[k][k] - c.low[k][k], axis = k;
        out.push_back(c.low[axis]);
        out.push_back(c.high[axis]);
    }
    return true;
}

}  // namespace vistrel::viewport::LineThinning

// An axis-aligned box grown point by point; empty (max below min) until the first point.
#pragma once

#include <cmath>
#include <vector>

#include "model/Math.h"

namespace vistrel {

struct BoundingBox {
    Float3 min{INFINITY, INFINITY, INFINITY};
    Float3 max{-INFINITY, -INFINITY, -INFINITY};
    bool isEmpty() const { return max.x < min.x; }
    // A NaN never wins: the comparisons below are false for it.
    void add(Float3 p) {
        min.x = p.x < min.x ? p.x : min.x;
        min.y = p.y < min.y ? p.y : min.y;
        min.z = p.z < min.z ? p.z : min.z;
        max.x = p.x > max.x ? p.x : max.x;
        max.y = p.y > max.y ? p.y : max.y;
        max.z = p.z > max.z ? p.z : max.z;
    }
    void add(const std::vector<Float3>& points) {
        for (Float3 p : points) add(p);
    }
    void add(const BoundingBox& other, const Float4x4& m) {
        if (other.isEmpty()) return;
        for (int i = 0; i < 8; ++i) {
            Float3 c{(i & 1) ? other.max.x : other.min.x, (i & 2) ? other.max.y : other.min.y,
                     (i & 4) ? other.max.z : other.min.z};
            add(m.transformPoint(c));
        }
    }
};

}  // namespace vistrel

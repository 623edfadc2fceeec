// A bounding-volume hierarchy over the primitives (triangles, or line segments) of several
// merged geometries, so that a ray meets a few dozen primitives instead of millions. One
// hierarchy spans every chunk built together: the chunks of one layer set are scattered over
// the whole model, so per-chunk hierarchies would overlap and a ray would descend into all of
// them. Reads the geometries in place (they must outlive the hierarchy) and keeps only
// primitive references and nodes.
#pragma once

#include <cstdint>
#include <optional>
#include <vector>

#include "scene/Geometry.h"

namespace vistrel::viewport {

class PrimitiveBVH {
  public:
    // Each geometry is tagged with `firstTag + its position`, the tag a hit reports. All of
    // them hold the same kind of primitive.
    PrimitiveBVH(std::vector<const Geometry*> geometries, uint32_t firstTag);

    struct Hit {
        float distance = 0;
        uint32_t tag = 0;
    };
    // The nearest triangle within [0, maxDistance] along `direction` (unit length), back faces
    // included, among geometries whose tag is enabled (enabled[tag] != 0).
    std::optional<Hit> intersect(Float3 origin, Float3 direction, float maxDistance,
                                 const std::vector<uint8_t>& enabled) const;

    // Calls visit(tag, segment) for each segment of an enabled geometry whose node boxes,
    // widened by `margin`, the ray meets within maxDistance + margin. Line geometries only.
    template <typename Visit>
    void visitSegmentsNear(Float3 origin, Float3 direction, float maxDistance, float margin,
                           const std::vector<uint8_t>& enabled, Visit&& visit) const;

    uint32_t firstTag() const { return firstTag_; }
    uint32_t tagCount() const { return uint32_t(geometries_.size()); }
    size_t nodeCount() const { return nodes_.size(); }

  private:
    struct Prim {
        uint32_t source;
        uint32_t triangle;
    };
    struct Node {
        Float3 min, max;
        uint32_t first = 0;  // leaf: first prim; inner: index of the left child
        uint32_t count = 0;  // prims in a leaf; 0 for an inner node
    };
    struct BuildPrim;
    void build(uint32_t node, uint32_t first, uint32_t count, std::vector<BuildPrim>& prims);
    Float3 vertex(Prim p, int k) const;
    int verticesPerPrim_ = 3;

    std::vector<const Geometry*> geometries_;
    uint32_t firstTag_;
    std::vector<Prim> prims_;
    std::vector<Node> nodes_;
};

// Slab test: whether the ray meets the box between 0 and maxDistance. A ray parallel to an
// axis misses when its origin lies outside that slab.
bool rayHitsBox(Float3 origin, Float3 direction, float maxDistance, Float3 boxMin, Float3 boxMax);

template <typename Visit>
void PrimitiveBVH::visitSegmentsNear(Float3 o, Float3 d, float maxDistance, float margin,
                                     const std::vector<uint8_t>& enabled, Visit&& visit) const {
    if (prims_.empty()) return;
    const Float3 pad{margin, margin, margin};
    uint32_t stack[64];
    int top = 0;
    stack[top++] = 0;
    while (top > 0) {
        const Node& n = nodes_[stack[--top]];
        if (!rayHitsBox(o, d, maxDistance + margin, n.min - pad, n.max + pad)) continue;
        if (n.count == 0) {
            stack[top++] = n.first;
            stack[top++] = n.first + 1;
            continue;
        }
        for (uint32_t k = n.first; k < n.first + n.count; ++k)
            if (enabled[firstTag_ + prims_[k].source])
                visit(firstTag_ + prims_[k].source, prims_[k].triangle);
    }
}

}  // namespace vistrel::viewport

// A bounding-volume hierarchy over the triangles of several merged face geometries, so that a
// ray meets a few dozen triangles instead of millions. One hierarchy spans every chunk built
// together: chunks of one layer set are scattered over the whole model, so per-chunk
// hierarchies would overlap and a ray would descend into all of them. Reads the geometries in
// place (they must outlive the hierarchy) and keeps only triangle references and nodes.
#pragma once

#include <cstdint>
#include <optional>
#include <vector>

#include "Geometry.h"

namespace vistrel::viewport {

class FaceBVH {
  public:
    // Each geometry is tagged with `firstTag + its position`, the tag a hit reports.
    FaceBVH(std::vector<const Geometry*> geometries, uint32_t firstTag);

    struct Hit {
        float distance = 0;
        uint32_t tag = 0;
    };
    // The nearest triangle within [0, maxDistance] along `direction` (unit length), back faces
    // included, among geometries whose tag is enabled (enabled[tag] != 0).
    std::optional<Hit> intersect(Float3 origin, Float3 direction, float maxDistance,
                                 const std::vector<uint8_t>& enabled) const;

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

    std::vector<const Geometry*> geometries_;
    uint32_t firstTag_;
    std::vector<Prim> prims_;
    std::vector<Node> nodes_;
};

// Slab test: whether the ray meets the box between 0 and maxDistance. A ray parallel to an
// axis misses when its origin lies outside that slab.
bool rayHitsBox(Float3 origin, Float3 direction, float maxDistance, Float3 boxMin, Float3 boxMax);

}  // namespace vistrel::viewport

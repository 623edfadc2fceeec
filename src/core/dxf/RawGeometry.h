// What the DXF parser collects from one ENTITIES section or one block, in file units, before it
// becomes a Definition: segments, faces and points by layer, and the block inserts in order.
#pragma once

#include <cstdint>
#include <optional>
#include <vector>

#include "dxf/LayerBuckets.h"
#include "model/Math.h"

namespace vistrel {

struct RawFaces {
    std::vector<Float3> positions;
    std::vector<Float3> normals;
    std::vector<uint32_t> indices;
};

struct RawInsert {
    int block = 0;  // the block's name, interned by the parser
    int layer = 0;
    Float3 position;
    Float3 scale{1, 1, 1};
    float rotationDeg = 0;
    // The OCS normal the rotation and scale are taken in (the position is in world coordinates
    // already); world Z for the narrow parser.
    Float3 extrusion{0, 0, 1};
};

struct RawGeometry {
    LayerBuckets<std::vector<Float3>> edgesByLayer;  // segment ends in pairs
    LayerBuckets<RawFaces> facesByLayer;
    LayerBuckets<std::vector<Float3>> pointsByLayer;
    std::vector<RawInsert> inserts;

    // Drops a segment whose squared length is not above 1e-12.
    void addSegment(Float3 a, Float3 b, int layer) {
        Float3 d = b - a;
        if (!(dot(d, d) > 1e-12f)) return;
        auto& edges = edgesByLayer.at(layer);
        edges.push_back(a);
        edges.push_back(b);
    }
    // A triangle, or a quad when p3 is given and lies more than 1e-5 from p2. One flat normal
    // from the first three corners, (0, 0, 1) when they are collinear.
    void addQuadOrTri(Float3 p0, Float3 p1, Float3 p2, std::optional<Float3> p3, int layer);
    // Moves everything, insert positions included, by -base.
    void subtract(Float3 base);

    bool empty() const {
        return edgesByLayer.empty() && facesByLayer.empty() && pointsByLayer.empty() &&
               inserts.empty();
    }
};

// A block from the BLOCKS section, its base point already taken off.
struct RawBlock {
    RawGeometry geometry;
    bool defined = false;
    int converting = 0;  // conversions under way (a block may insert itself)
};

}  // namespace vistrel

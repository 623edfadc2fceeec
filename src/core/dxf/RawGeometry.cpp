#include "dxf/RawGeometry.h"

namespace vistrel {

void RawGeometry::addQuadOrTri(Float3 p0, Float3 p1, Float3 p2, std::optional<Float3> p3,
                               int layer) {
    Float3 n = cross(p1 - p0, p2 - p0);
    float len = length(n);
    n = len > 1e-8f ? n / len : Float3{0, 0, 1};
    bool quad = false;
    if (p3) {
        Float3 d = *p3 - p2;
        quad = dot(d, d) > 1e-10f;
    }
    RawFaces& f = facesByLayer.at(layer);
    auto base = uint32_t(f.positions.size());
    f.positions.push_back(p0);
    f.positions.push_back(p1);
    f.positions.push_back(p2);
    if (quad) f.positions.push_back(*p3);
    f.normals.insert(f.normals.end(), quad ? 4 : 3, n);
    f.indices.insert(f.indices.end(), {base, base + 1, base + 2});
    if (quad) f.indices.insert(f.indices.end(), {base, base + 2, base + 3});
}

void RawGeometry::subtract(Float3 base) {
    for (auto& [layer, edges] : edgesByLayer.entries())
        for (Float3& p : edges) p -= base;
    for (auto& [layer, faces] : facesByLayer.entries())
        for (Float3& p : faces.positions) p -= base;
    for (auto& [layer, points] : pointsByLayer.entries())
        for (Float3& p : points) p -= base;
    for (RawInsert& i : inserts) i.position -= base;
}

}  // namespace vistrel

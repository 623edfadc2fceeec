#include "dxf/DXFDefinitionBuilder.h"

#include <algorithm>
#include <cmath>
#include <numbers>

namespace vistrel {

namespace {

constexpr int maxInsertDepth = 16;

}  // namespace

DXFDefinitionBuilder::DXFDefinitionBuilder(float unitScale, std::vector<RawBlock>& blocks,
                                           std::vector<std::string> blockNames)
    : unitScale_(unitScale),
      blocks_(blocks),
      blockNames_(std::move(blockNames)),
      finished_(blocks.size()) {}

Definition DXFDefinitionBuilder::buildRoot(RawGeometry& raw, BoundingBox& box) {
    convertPoints(raw);
    return buildDefinition({}, raw, 0, true, box);
}

void DXFDefinitionBuilder::convertPoints(RawGeometry& in) const {
    size_t n = 0;
    for (auto& [layer, points] : in.pointsByLayer.entries()) n += points.size();
    if (n == 0) return;
    size_t step = std::max<size_t>(1, n / 60000);
    float size = 0.015f / std::max(unitScale_, 0.0001f);
    for (auto& [layer, points] : in.pointsByLayer.entries())
        for (size_t i = 0; i < points.size(); i += step)
            in.addSegment(points[i] - Float3{size, 0, 0}, points[i] + Float3{size, 0, 0}, layer);
    in.pointsByLayer.clear();
}

// `consume` lets the positions move out of `raw` (the ENTITIES section, used once); blocks
// are copied, for a block may be converted again while it is being converted.
Definition DXFDefinitionBuilder::buildDefinition(std::string name, RawGeometry& raw, int depth,
                                                 bool consume, BoundingBox& box) {
    Definition def;
    def.name = std::move(name);
    const float s = unitScale_;
    for (auto& [layer, faces] : raw.facesByLayer.sorted()) {
        Mesh mesh;
        mesh.layer = layer;
        if (consume) {
            mesh.positions = std::move(faces.positions);
            mesh.normals = std::move(faces.normals);
            mesh.indices = std::move(faces.indices);
            if (s != 1)
                for (Float3& p : mesh.positions) p *= s;
        } else {
            mesh.positions.reserve(faces.positions.size());
            for (Float3 p : faces.positions) mesh.positions.push_back(p * s);
            mesh.normals = faces.normals;
            mesh.indices = faces.indices;
        }
        box.add(mesh.positions);
        auto triangles = int64_t(mesh.indices.size() / 3);
        stats_.faces += triangles;
        stats_.triangles += triangles;
        def.meshes.push_back(std::move(mesh));
    }
    for (auto& [layer, edges] : raw.edgesByLayer.sorted()) {
        EdgeSet set;
        set.layer = layer;
        if (consume) {
            set.positions = std::move(edges);
            if (s != 1)
                for (Float3& p : set.positions) p *= s;
        } else {
            set.positions.reserve(edges.size());
            for (Float3 p : edges) set.positions.push_back(p * s);
        }
        box.add(set.positions);
        stats_.edges += int64_t(set.positions.size() / 2);
        def.edges.push_back(std::move(set));
    }
    if (depth >= maxInsertDepth) return def;
    for (size_t i = 0; i < raw.inserts.size(); ++i) {
        const RawInsert insert = raw.inserts[i];
        if (!finished_[size_t(insert.block)]) {
            RawBlock& b = blocks_[size_t(insert.block)];
            if (!b.defined) continue;
            convertPoints(b.geometry);
            ++b.converting;
            BoundingBox childBox;
            Definition child = buildDefinition(blockNames_[size_t(insert.block)], b.geometry,
                                               depth + 1, false, childBox);
            --b.converting;
            definitions_.push_back(std::move(child));
            finished_[size_t(insert.block)] = FinishedBlock{int(definitions_.size()) - 1, childBox};
            // Never looked at again once finished: its definition stands for it.
            if (b.converting == 0) b.geometry = RawGeometry{};
        }
        const FinishedBlock& f = *finished_[size_t(insert.block)];
        Instance instance;
        instance.definition = f.index;
        instance.transform = insertMatrix(insert);
        instance.layer = insert.layer;
        stats_.instances += 1;
        box.add(f.box, instance.transform);
        def.children.push_back(std::move(instance));
    }
    return def;
}

// position x OCS x rotation about Z x scale, the position in metres.
Float4x4 DXFDefinitionBuilder::insertMatrix(const RawInsert& in) const {
    Float4x4 m = planarInsertMatrix(in);
    if (in.extrusion == Float3{0, 0, 1}) return m;
    Float3 n = in.extrusion;
    // The arbitrary-axis rule.
    Float3 ax = std::abs(n.x) < 1.0f / 64 && std::abs(n.y) < 1.0f / 64 ? cross({0, 1, 0}, n)
                                                                       : cross({0, 0, 1}, n);
    ax = normalize(ax);
    Float3 ay = cross(n, ax);
    Float4x4 ocs;
    ocs.m = {ax.x, ax.y, ax.z, 0, ay.x, ay.y, ay.z, 0, n.x, n.y, n.z, 0, 0, 0, 0, 1};
    Float4x4 r = ocs * m;
    r.m[12] = m.m[12];
    r.m[13] = m.m[13];
    r.m[14] = m.m[14];
    return r;
}

Float4x4 DXFDefinitionBuilder::planarInsertMatrix(const RawInsert& in) const {
    double a = double(in.rotationDeg) * std::numbers::pi / 180;
    auto c = float(std::cos(a)), sn = float(std::sin(a));
    Float4x4 m;
    m.m = {c * in.scale.x,
           sn * in.scale.x,
           0,
           0,
           -sn * in.scale.y,
           c * in.scale.y,
           0,
           0,
           0,
           0,
           in.scale.z,
           0,
           in.position.x * unitScale_,
           in.position.y * unitScale_,
           in.position.z * unitScale_,
           1};
    return m;
}

}  // namespace vistrel

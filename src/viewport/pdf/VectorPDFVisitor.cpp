#include "pdf/VectorPDFVisitor.h"

#include <algorithm>
#include <cmath>

namespace vistrel::viewport::VectorPDFExporter {

namespace {

constexpr Float3 kDefaultColor{0.96f, 0.96f, 0.96f};
constexpr Float3 kClayColor{0.94f, 0.92f, 0.89f};
constexpr int kMaxDepth = 256;  // readers guarantee no cycles; this guards hand-made models

// Inverse transpose of the upper 3x3, for normals; the cofactors alone when it is singular.
Float3x3 normalMatrix(const Float4x4& t, float det) {
    const Float3 a = t.column3(0), b = t.column3(1), c = t.column3(2);
    Float3x3 cof{cross(b, c), cross(c, a), cross(a, b)};
    if (det != 0) {
        const float inv = 1 / det;
        cof = {cof.c0 * inv, cof.c1 * inv, cof.c2 * inv};
    }
    return cof;
}

}  // namespace

VectorPDFVisitor::VectorPDFVisitor(const SKPModel& model, const Options& options,
                                   const Projector& projector, const LightingRig& lighting,
                                   const std::vector<ResolvedMaterial>& materials)
    : model_(model),
      options_(options),
      projector_(projector),
      lighting_(lighting),
      materials_(materials) {}

bool VectorPDFVisitor::layerHidden(int layer) const {
    const auto& v = options_.visibleLayers;
    return layer >= 0 && size_t(layer) < v.size() && !v[size_t(layer)];
}

void VectorPDFVisitor::run(bool withTriangles, bool withEdges) {
    withTriangles_ = withTriangles;
    withEdges_ = withEdges;
    edgeDepthBias_ = std::max(0.0008f * options_.pose.distance, 0.0015f);
    // Most models keep all triangles on the page; one reservation avoids regrowth.
    if (withTriangles)
        triangles.reserve(triangles.size() + size_t(std::max<int64_t>(model_.stats.triangles, 0)));
    if (withEdges) edges.reserve(edges.size() + size_t(std::max<int64_t>(model_.stats.edges, 0)));
    layerChain_.clear();
    visit(model_.root, Float4x4::identity(), std::nullopt, 0);
}

void VectorPDFVisitor::visit(const Definition& definition, const Float4x4& transform,
                             std::optional<int> inheritedMaterial, int depth) {
    if (depth > kMaxDepth) return;
    for (int layer : layerChain_)
        if (layerHidden(layer)) return;

    const float det = transform.determinant3();
    const Float3x3 normals = normalMatrix(transform, det);
    const bool mirrors = det < 0;

    for (const Mesh& mesh : definition.meshes) {
        if (layerHidden(mesh.layer)) continue;
        addMesh(mesh, transform, normals, mirrors, inheritedMaterial);
    }

    if (withEdges_) {
        for (const EdgeSet& set : definition.edges) {
            if (layerHidden(set.layer)) continue;
            for (size_t i = 0; i + 1 < set.positions.size(); i += 2)
                projector_.projectSegment(transform.transformPoint(set.positions[i]),
                                          transform.transformPoint(set.positions[i + 1]),
                                          edgeDepthBias_, edges);
        }
    }

    for (const Instance& child : definition.children) {
        if (layerHidden(child.layer)) continue;
        if (child.definition < 0 || size_t(child.definition) >= model_.definitions.size()) continue;
        const bool added =
            std::find(layerChain_.begin(), layerChain_.end(), child.layer) == layerChain_.end();
        if (added) layerChain_.push_back(child.layer);
        visit(model_.definitions[size_t(child.definition)], transform * child.transform,
              child.material ? child.material : inheritedMaterial, depth + 1);
        if (added) layerChain_.pop_back();
    }
}

void VectorPDFVisitor::addMesh(const Mesh& mesh, const Float4x4& transform,
                               const Float3x3& normalMatrix, bool mirrors,
                               std::optional<int> inheritedMaterial) {
    const std::optional<int> material = mesh.material ? mesh.material : inheritedMaterial;
    Float3 color = kDefaultColor;
    float opacity = 1;
    if (material && *material >= 0 && size_t(*material) < materials_.size()) {
        color = materials_[size_t(*material)].color;
        opacity = materials_[size_t(*material)].opacity;
    }
    float alpha = opacity;
    switch (options_.shadingStyle) {
        case ShadingStyle::textured:
            break;
        case ShadingStyle::clay:
            if (opacity >= 0.98f) {
                color = kClayColor;
                alpha = 1;
            }
            break;
        case ShadingStyle::xray:
            alpha = std::min(opacity, 0.36f);
            break;
        case ShadingStyle::wireframe:
            alpha = 0;
            break;
    }

    if (!withTriangles_ || mesh.positions.size() < 3) return;
    transformed_.resize(mesh.positions.size());
    for (size_t i = 0; i < mesh.positions.size(); ++i)
        transformed_[i] = transform.transformPoint(mesh.positions[i]);

    const size_t count = transformed_.size();
    const Float3 eye = projector_.eye;
    for (size_t t = 0; t + 2 < mesh.indices.size(); t += 3) {
        uint32_t i0 = mesh.indices[t], i1 = mesh.indices[t + 1], i2 = mesh.indices[t + 2];
        if (i0 >= count || i1 >= count || i2 >= count) continue;
        if (mirrors) std::swap(i1, i2);
        const Float3 a = transformed_[i0], b = transformed_[i1], c = transformed_[i2];
        Float3 n = i0 < mesh.normals.size() ? normalMatrix * mesh.normals[i0] : cross(b - a, c - a);
        const float len = length(n);
        if (!(len >= 0.000001f)) continue;
        n = n / len;
        const Float3 centroid = (a + b + c) * (1.0f / 3);
        const Float3 shaded = lighting_.shade(centroid, n, eye, color);
        const size_t first = triangles.size();
        projector_.projectTriangle(a, b, c, triangles);
        for (size_t k = first; k < triangles.size(); ++k) {
            triangles[k].color = shaded;
            triangles[k].alpha = alpha;
        }
    }
}

}  // namespace vistrel::viewport::VectorPDFExporter

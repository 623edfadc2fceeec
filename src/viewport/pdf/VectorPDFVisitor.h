// Walks a model from its root for the vector PDF export and collects what the page shows:
// projected, shaded triangles and projected edges, in the order of the walk. Hidden layers
// anywhere in an instance's chain hide its whole subtree; mirrored instances keep their winding.
#pragma once

#include <vector>

#include "model/SKPModel.h"
#include "pdf/VectorPDFExporter.h"
#include "pdf/VectorPDFLighting.h"
#include "pdf/VectorPDFProjector.h"

namespace vistrel::viewport::VectorPDFExporter {

class VectorPDFVisitor {
  public:
    // All references must outlive the visitor.
    VectorPDFVisitor(const SKPModel& model, const Options& options, const Projector& projector,
                     const LightingRig& lighting, const std::vector<ResolvedMaterial>& materials);

    // One walk from the root with the identity transform. Results append to the lists.
    void run(bool withTriangles, bool withEdges);

    std::vector<ProjectedTriangle> triangles;
    std::vector<ProjectedEdge> edges;

  private:
    void visit(const Definition& definition, const Float4x4& transform,
               std::optional<int> inheritedMaterial, int depth);
    void addMesh(const Mesh& mesh, const Float4x4& transform, const Float3x3& normalMatrix,
                 bool mirrors, std::optional<int> inheritedMaterial);
    bool layerHidden(int layer) const;

    const SKPModel& model_;
    const Options& options_;
    const Projector& projector_;
    const LightingRig& lighting_;
    const std::vector<ResolvedMaterial>& materials_;
    bool withTriangles_ = true, withEdges_ = true;
    float edgeDepthBias_ = 0.0015f;
    std::vector<int> layerChain_;
    std::vector<Float3> transformed_;  // reused for every mesh
};

}  // namespace vistrel::viewport::VectorPDFExporter

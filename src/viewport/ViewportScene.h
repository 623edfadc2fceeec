// One SKPModel turned into a renderable scene graph.
//
// Every instance is flattened to a world transform, the flattened pieces are grouped by the
// set of layers they depend on, and within each set they are merged per material into a few
// large world-space buffers (chunks of at most 250,000 triangles, in Morton order so each covers
// a compact region). Nothing of the model's hierarchy survives: the result is a flat tree of a
// few hundred nodes under `modelRoot`.
//
// Built on a worker thread (the merge stage uses all cores), then used on the main thread only.
// Sets on hidden layers are built lazily, the first time they are shown.
#pragma once

#include <cstdint>
#include <map>
#include <memory>
#include <optional>
#include <set>
#include <unordered_map>
#include <vector>

#include "BackdropStyle.h"
#include "Image.h"
#include "SKPModel.h"
#include "SceneNode.h"
#include "ShadingStyle.h"

namespace vistrel::viewport {

class ViewportScene {
  public:
    struct Placement {
        int definition = -1;  // -1: the model's root
        Float4x4 transform;   // full world transform
        std::optional<int> material;
        std::vector<int> layers;  // ascending
    };

    struct LayerSet {
        std::vector<int> layers;  // ascending; the key
        std::vector<int> placements;
        std::shared_ptr<SceneNode> node;  // absent until built
        // The most specific layer: the last non-zero one, else the first, else 0.
        int primary() const;
    };

    struct Piece {
        int placement = 0;
        int item = 0;  // index into the definition's meshes or edges
    };

    struct Chunk {
        LayerSet* set = nullptr;
        std::shared_ptr<Material> material;  // null: an edge chunk
        bool textured = false;
        std::vector<Piece> pieces;
        int64_t vertices = 0;
        int64_t indices = 0;  // faces: index count; edges: segments * 2
    };

    struct EdgeChunk {
        std::shared_ptr<SceneNode> node;
        std::shared_ptr<Geometry> geometry;
        int64_t vertexCount = 0;
        LayerSet* set = nullptr;
    };

    struct FaceNode {
        std::shared_ptr<SceneNode> node;
        std::shared_ptr<Material> material;  // the chunk's own, before any style
    };

    // How a mesh's texture coordinates are read: 0 none, 1 own material's texture space,
    // 2 model units of an inherited material (divided by its textureScale).
    enum class UVs { none = 0, own = 1, inherited = 2 };

    // Builds everything visible. Slow: run it away from the main thread.
    explicit ViewportScene(SKPModel model);
    ViewportScene(const ViewportScene&) = delete;
    ViewportScene& operator=(const ViewportScene&) = delete;

    const SKPModel& model() const { return model_; }
    const std::shared_ptr<SceneNode>& rootNode() const { return root_; }
    const std::shared_ptr<SceneNode>& modelRoot() const { return modelRoot_; }

    const std::vector<Placement>& placements() const { return placements_; }
    // Layer sets in order of creation.
    const std::vector<std::unique_ptr<LayerSet>>& layerSets() const { return layerSetList_; }
    LayerSet* findLayerSet(const std::vector<int>& layers) const;
    const std::vector<LayerSet*>& setsContaining(int layer) const;
    const std::vector<FaceNode>& faceNodes() const { return faceNodes_; }
    const std::vector<std::shared_ptr<SceneNode>>& edgeNodes() const { return edgeNodes_; }
    const std::vector<EdgeChunk>& edgeChunks() const { return edgeChunks_; }
    LayerSet* setOfFaceNode(const SceneNode* node) const;
    const std::set<int>& hiddenLayers() const { return hiddenLayers_; }

    // Builds chunks, merged buffers and nodes of the given sets, in order. Sets already built
    // are a programming error.
    void build(const std::vector<LayerSet*>& sets);

    // 30-bit Morton key of a point placed by `transform`, normalised in the model's bounds.
    uint32_t spatialKey(Float3 point, const Float4x4& transform) const;
    // The layer key of `layers` with `layer` added (sorted, without duplicates).
    static std::vector<int> layerKey(const std::vector<int>& layers, int layer);
    // The sequence of chunks that `split` makes of entries with the given keys and sizes.
    struct SplitEntry {
        Piece piece;
        uint32_t key = 0;
        int64_t size = 0;  // triangles or segments
        int64_t vertices = 0;
    };
    static void split(std::vector<SplitEntry>& entries, const std::shared_ptr<Material>& material,
                      bool textured, LayerSet* set, std::vector<Chunk>& chunks);
    static constexpr int64_t kChunkIndexLimit = 750001;

    // Look.
    ShadingStyle shadingStyle() const { return shadingStyle_; }
    void setShadingStyle(ShadingStyle style);
    BackdropStyle backdropStyle() const { return backdropStyle_; }
    void setBackdropStyle(BackdropStyle style);
    Float3 customBackdropColor() const { return customBackdropColor_; }
    void setCustomBackdropColor(Float3 color);
    bool showsEdges() const { return showsEdges_; }
    void setShowsEdges(bool shows);
    const Image& background() const { return background_; }
    const Image& lightingEnvironment() const { return lightingEnvironment_; }
    float lightingEnvironmentIntensity() const { return lightingEnvironmentIntensity_; }

    // Materials.
    std::shared_ptr<Material> scnMaterial(int index, UVs uvs);
    std::shared_ptr<const Image> image(int index);
    std::shared_ptr<Material> makeMaterial(std::optional<int> index, UVs uvs);
    const std::shared_ptr<Material>& defaultMaterial();
    const std::shared_ptr<Material>& clayMaterial();
    const std::shared_ptr<Material>& edgeMaterial() const { return edgeMaterial_; }
    std::shared_ptr<Material> xrayMaterial(const std::shared_ptr<Material>& original);
    void applyShadingStyle();
    void applyShadingStyle(SceneNode& node, const std::shared_ptr<Material>& original);
    void updateEdgeMaterial();

  private:
    void place(int definition, const Float4x4& transform, std::optional<int> material,
               const std::vector<int>& layers);
    LayerSet* layerSet(const std::vector<int>& layers);
    const Definition& definition(int index) const;
    std::shared_ptr<Geometry> mergeFaces(const Chunk& chunk) const;
    std::shared_ptr<Geometry> mergeEdges(const Chunk& chunk) const;
    void applyEdgeVisibility();

    SKPModel model_;
    std::shared_ptr<SceneNode> root_;
    std::shared_ptr<SceneNode> modelRoot_;

    ShadingStyle shadingStyle_ = ShadingStyle::textured;
    BackdropStyle backdropStyle_ = BackdropStyle::architecturalSky;
    Float3 customBackdropColor_;
    bool showsEdges_ = true;
    Image background_;
    Image lightingEnvironment_;
    float lightingEnvironmentIntensity_ = 1.05f;

    std::unordered_map<int, std::shared_ptr<Material>> materials_;
    std::unordered_map<const Material*, std::shared_ptr<Material>> xrayMaterials_;
    std::unordered_map<int, std::shared_ptr<const Image>> images_;
    std::shared_ptr<Material> defaultMaterial_;
    std::shared_ptr<Material> clayMaterial_;
    std::shared_ptr<Material> edgeMaterial_;

    std::vector<Placement> placements_;
    std::map<std::vector<int>, LayerSet*> layerSets_;
    std::vector<std::unique_ptr<LayerSet>> layerSetList_;
    std::unordered_map<int, std::vector<LayerSet*>> setsByLayer_;
    std::vector<FaceNode> faceNodes_;
    std::unordered_map<const SceneNode*, LayerSet*> faceNodeSet_;
    std::vector<std::shared_ptr<SceneNode>> edgeNodes_;
    std::vector<EdgeChunk> edgeChunks_;
    std::set<int> hiddenLayers_;
};

}  // namespace vistrel::viewport

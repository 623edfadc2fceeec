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
#include <functional>
#include <map>
#include <memory>
#include <mutex>
#include <optional>
#include <set>
#include <string_view>
#include <unordered_map>
#include <vector>

#include "image/Image.h"
#include "model/SKPModel.h"
#include "scene/PrimitiveBVH.h"
#include "scene/SceneNode.h"
#include "timing/Clock.h"
#include "timing/RepeatingTimer.h"
#include "vocabulary/BackdropStyle.h"
#include "vocabulary/DocumentSettings.h"
#include "vocabulary/LightingMode.h"
#include "vocabulary/ShadingStyle.h"
#include "vocabulary/ViewportPointLight.h"

namespace vistrel::viewport {

class ViewportScene {
  public:
    // Millions in a large plan: the layers are an index into a table of the few distinct keys.
    struct Placement {
        int definition = -1;  // -1: the model's root
        int layerKey = 0;     // layers(): the layers it inherits
        std::optional<int> material;
        Float4x4 transform;  // full world transform
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

    // The fraction of the assembly done, from 0 to 1, in steps of at least a hundredth; called
    // on the assembling thread or its helpers, one call at a time.
    using Progress = std::function<void(double)>;

    // Builds everything visible. Slow: run it away from the main thread.
    explicit ViewportScene(SKPModel model, Progress progress = {});
    ~ViewportScene();
    ViewportScene(const ViewportScene&) = delete;
    ViewportScene& operator=(const ViewportScene&) = delete;

    const SKPModel& model() const { return model_; }
    const std::shared_ptr<SceneNode>& rootNode() const { return root_; }
    const std::shared_ptr<SceneNode>& modelRoot() const { return modelRoot_; }

    const std::vector<Placement>& placements() const { return placements_; }
    // A placement's inherited layers, ascending.
    const std::vector<int>& layers(const Placement& p) const {
        return layerKeys_[size_t(p.layerKey)];
    }
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

    // Lighting. Setters re-apply the rig at once.
    const std::shared_ptr<SceneNode>& fill() const { return fill_; }
    const std::shared_ptr<SceneNode>& sun() const { return sun_; }
    const std::shared_ptr<SceneNode>& skyFill() const { return skyFill_; }
    const std::shared_ptr<SceneNode>& pointLightsRoot() const { return pointLightsRoot_; }
    float sunAzimuthDegrees() const { return sunAzimuthDegrees_; }
    void setSunAzimuthDegrees(float degrees);
    float sunElevationDegrees() const { return sunElevationDegrees_; }
    void setSunElevationDegrees(float degrees);
    float sunIntensity() const { return sunIntensity_; }
    void setSunIntensity(float intensity);
    float ambientIntensity() const { return ambientIntensity_; }
    void setAmbientIntensity(float intensity);
    bool shadowsEnabled() const { return shadowsEnabled_; }
    void setShadowsEnabled(bool enabled);
    LightingMode lightingMode() const { return lightingMode_; }
    void setLightingMode(LightingMode mode);
    const std::vector<ViewportPointLight>& pointLights() const { return pointLights_; }
    void setPointLights(std::vector<ViewportPointLight> lights);
    const std::vector<ViewportPointLight>& detectedSceneLights() const {
        return detectedSceneLights_;
    }
    bool showsPointLightGizmo() const { return showsPointLightGizmo_; }
    void setShowsPointLightGizmo(bool shows);
    bool showsGrid() const { return showsGrid_; }
    void setShowsGrid(bool shows);
    const std::shared_ptr<SceneNode>& gridNode() const { return gridNode_; }
    bool shadowQualityIsHigh() const { return shadowQualityIsHigh_; }
    void setShadowQuality(bool high);
    void resetSun();
    void updateSunDirection();
    void updateLightingModeAndPointLights();
    // Where a new user light goes: the centre of what is visible.
    Float3 defaultPointLightPosition();

    // Light fixtures recognised by their component or layer names.
    std::vector<ViewportPointLight> extractSceneLights() const;
    static bool matchesLightName(std::string_view name);
    static std::shared_ptr<SceneNode> makePointLightGizmo(float radius, bool isFromScene);
    std::shared_ptr<SceneNode> buildGridNode() const;

    // Layer visibility and bounds. Main thread only.
    void setLayer(int index, bool visible);
    // One entry per layer; fewer is a programming error.
    void setLayers(const std::vector<bool>& visibility);
    struct Bounds {
        Float3 min, max;
        friend bool operator==(const Bounds&, const Bounds&) = default;
    };
    Bounds visibleBounds();
    std::optional<Bounds> bounds(const std::set<int>& layers);
    std::vector<LayerSet*> matchingLayerSets(const std::set<int>& layers) const;

    // The layer under a screen point, from a ray in model space. Edges within the pick radius
    // win over the face behind them. Hierarchies over face chunks are built on first use.
    std::optional<int> pickLayer(Float3 from, Float3 direction, Float3 right, Float3 up,
                                 float reach, std::optional<float> orthoTolerance, float tanHalfFOV,
                                 float viewportHeight, float screenRadiusPoints);
    // The nearest visible face along a ray, back faces included (camera pivots, picking).
    struct FaceHit {
        float depth = 0;
        LayerSet* set = nullptr;
    };
    std::optional<FaceHit> hitFaces(Float3 from, Float3 direction, float reach);
    // Builds the face and edge hierarchies now (benchmarks, or ahead of the first pick).
    void preparePicking();

    // Hover and flash highlights. The flash needs a timer: without one it shows at full
    // strength until cancelled.
    void setTimerSource(std::unique_ptr<RepeatingTimer> timer, const Clock* clock);
    const std::set<int>& hoveredLayers() const { return hoveredLayers_; }
    void setHoveredLayers(const std::set<int>& layers);
    void pulseLayers(const std::set<int>& layers, std::function<void()> onUpdate = {});
    void cancelLayerPulse();
    const std::set<int>& activePulseLayers() const { return activePulseLayers_; }
    static constexpr double kPulseDuration = 0.55;

  private:
    void createLights();
    void applyHoverVisuals();
    void runHoverRestore();
    void applyPulseEnvelope(float v);
    void layersChanged(const std::vector<LayerSet*>& affected);
    // Builds the sets that have no node yet, hidden when one of their layers is.
    void buildUnbuilt(const std::vector<LayerSet*>& sets);
    bool hasHiddenLayer(const LayerSet& set) const;
    Float3 highlightEdgeBase(bool& light) const;
    void place(int definition, const Float4x4& transform, std::optional<int> material, int key);
    int internKey(std::vector<int> layers);
    int keyWithLayer(int key, int layer);
    LayerSet* layerSet(const std::vector<int>& layers);
    const Definition& definition(int index) const;
    std::shared_ptr<Geometry> mergeFaces(const Chunk& chunk) const;
    std::shared_ptr<Geometry> mergeEdges(const Chunk& chunk) const;
    void applyEdgeVisibility();

    SKPModel model_;
    std::shared_ptr<SceneNode> root_;
    std::shared_ptr<SceneNode> modelRoot_;

    ShadingStyle shadingStyle_ = DocumentSettings{}.shadingStyle;
    BackdropStyle backdropStyle_ = DocumentSettings{}.backdropStyle;
    Float3 customBackdropColor_ = DocumentSettings{}.customBackdropColor;
    bool showsEdges_ = DocumentSettings{}.showsEdges;
    Image background_;
    Image lightingEnvironment_;
    float lightingEnvironmentIntensity_ = 1.05f;

    std::unordered_map<int, std::shared_ptr<Material>> materials_;
    std::unordered_map<const Material*, std::shared_ptr<Material>> xrayMaterials_;
    std::unordered_map<int, std::shared_ptr<const Image>> images_;
    std::shared_ptr<Material> defaultMaterial_;
    std::shared_ptr<Material> clayMaterial_;
    std::shared_ptr<Material> edgeMaterial_;

    Progress progress_;  // during construction only
    std::mutex progressMutex_;
    double reported_ = 0;
    void report(double fraction);

    std::vector<Placement> placements_;
    std::vector<std::vector<int>> layerKeys_;
    std::map<std::vector<int>, int> layerKeyIndex_;
    std::unordered_map<uint64_t, int> keyWithLayer_;               // key << 32 | layer
    std::unordered_map<uint64_t, std::vector<LayerSet*>> setsOf_;  // key << 32 | definition
    std::map<std::vector<int>, LayerSet*> layerSets_;
    std::vector<std::unique_ptr<LayerSet>> layerSetList_;
    std::unordered_map<int, std::vector<LayerSet*>> setsByLayer_;
    std::vector<FaceNode> faceNodes_;
    std::unordered_map<const SceneNode*, LayerSet*> faceNodeSet_;
    std::vector<std::shared_ptr<SceneNode>> edgeNodes_;
    std::vector<EdgeChunk> edgeChunks_;
    std::set<int> hiddenLayers_;

    std::shared_ptr<SceneNode> fill_, sun_, skyFill_, pointLightsRoot_, gridNode_;
    float sunAzimuthDegrees_ = DocumentSettings{}.sunAzimuthDegrees;
    float sunElevationDegrees_ = DocumentSettings{}.sunElevationDegrees;
    float sunIntensity_ = DocumentSettings{}.sunIntensity;
    float ambientIntensity_ = DocumentSettings{}.ambientIntensity;
    bool shadowsEnabled_ = DocumentSettings{}.shadowsEnabled;
    LightingMode lightingMode_ = DocumentSettings{}.lightingMode;
    std::vector<ViewportPointLight> detectedSceneLights_;
    std::vector<ViewportPointLight> pointLights_;
    bool showsPointLightGizmo_ = DocumentSettings{}.showsPointLightGizmo;
    bool showsGrid_ = DocumentSettings{}.showsGrid;
    bool shadowQualityIsHigh_ = true;

    std::optional<Bounds> cachedVisibleBounds_;
    // Hierarchies cover faceNodes_ and edgeChunks_ in order, one per batch built together.
    std::vector<std::unique_ptr<PrimitiveBVH>> faceBVHs_;
    std::vector<std::unique_ptr<PrimitiveBVH>> edgeBVHs_;
    std::vector<uint8_t> pickableFaces_;  // per face node, refreshed at each pick
    std::vector<uint8_t> pickableEdges_;  // per edge chunk, refreshed at each pick

    std::set<int> hoveredLayers_;
    std::vector<std::function<void()>> hoverRestoreActions_;
    std::set<int> activePulseLayers_;
    std::vector<std::function<void()>> pulseRestoreActions_;
    std::shared_ptr<Material> pulseEdgeMaterial_;
    std::vector<std::shared_ptr<Material>> pulseFaceCopies_;
    Float3 pulseStart_, pulsePeak_;
    double pulseStartTime_ = 0;
    std::function<void()> pulseOnUpdate_;
    std::unique_ptr<RepeatingTimer> pulseTimer_;
    const Clock* clock_ = nullptr;
};

}  // namespace vistrel::viewport

// The one neutral scene model: every reader ends here, every consumer reads only this.
//
// Lengths are metres in 32-bit floats, axes as SketchUp has them (X east, Y north, Z up,
// right-handed). A model is an immutable value once built; `layerGroups` is derived from
// `layers` by the constructor and cannot be set any other way.
//
// Invariants the readers guarantee: `definitions` is in completion order (an instance inside
// definitions[i] refers to an index below i), there are no cycles, `layers` is never empty after
// a reader finishes, mesh indices are below the mesh's position count.
#pragma once

#include <cstdint>
#include <filesystem>
#include <map>
#include <optional>
#include <string>
#include <vector>

#include "identify/SKPFileInfo.h"
#include "model/Math.h"

namespace vistrel {

struct Material {
    std::string name;
    Float4 color{1, 1, 1, 1};  // linear RGBA, each source byte / 255
    float opacity = 1;
    bool isTransparent = false;
    std::optional<std::filesystem::path> textureURL;
    Float2 textureScale{1, 1};  // metres per repetition of the image
    friend bool operator==(const Material&, const Material&) = default;
};

struct Layer {
    std::string name;
    bool isVisible = true;
    std::optional<std::string> folder;  // trimmed tag-folder name; never empty when present
    friend bool operator==(const Layer&, const Layer&) = default;
};

struct LayerGroup {
    std::string id;
    std::string name;
    std::vector<int> layerIndices;
    std::map<int, std::string> memberLabels;
    bool isSingle() const { return layerIndices.size() == 1; }
    friend bool operator==(const LayerGroup&, const LayerGroup&) = default;
};

struct Mesh {
    std::optional<int> material;  // absent: the enclosing instance's paint, else the default
    int layer = 0;
    std::vector<Float3> positions;
    std::vector<Float3> normals;             // same length as positions
    std::optional<std::vector<Float2>> uvs;  // same length as positions when present
    std::vector<uint32_t> indices;           // three per triangle
    friend bool operator==(const Mesh&, const Mesh&) = default;
};

struct EdgeSet {
    int layer = 0;
    std::vector<Float3> positions;  // segments as consecutive pairs
    friend bool operator==(const EdgeSet&, const EdgeSet&) = default;
};

struct Instance {
    int definition = 0;
    Float4x4 transform;  // column-major, translation in metres in the fourth column
    int layer = 0;
    bool isGroup = false;
    std::optional<int> material;
    std::string name;
    friend bool operator==(const Instance&, const Instance&) = default;
};

struct Definition {
    std::string name;
    std::vector<Mesh> meshes;    // at most one per (material, layer)
    std::vector<EdgeSet> edges;  // at most one per layer
    std::vector<Instance> children;
    friend bool operator==(const Definition&, const Definition&) = default;
};

struct Camera {
    Float3 position;
    Float3 target;
    Float3 up{0, 0, 1};
    bool isPerspective = true;
    float fovDegrees = 35;   // vertical
    float orthoHeight = 10;  // metres
    friend bool operator==(const Camera&, const Camera&) = default;
};

struct Scene {
    std::string name;
    std::optional<Camera> camera;                  // absent: the scene does not move the view
    std::optional<std::vector<int>> hiddenLayers;  // absent: leaves visibility alone
    friend bool operator==(const Scene&, const Scene&) = default;
};

struct Stats {
    int64_t faces = 0;
    int64_t triangles = 0;
    int64_t edges = 0;  // segments
    int64_t instances = 0;
    int64_t definitions = 0;
    double loadSeconds = 0;
    friend bool operator==(const Stats&, const Stats&) = default;
};

class SKPModel {
  public:
    SKPModel() : SKPModel(Definition{}, {}, {}, {}, {}, std::nullopt, {}, {}, {}, {}, {}, {}) {}
    SKPModel(Definition root, std::vector<Definition> definitions, std::vector<Material> materials,
             std::vector<Layer> layers, std::vector<Scene> scenes, std::optional<Camera> camera,
             Float3 boundsMin, Float3 boundsMax, Stats stats, SKPFileInfo fileInfo,
             std::optional<std::string> loadWarning,
             std::optional<std::filesystem::path> textureDirectory);

    Definition root;
    std::vector<Definition> definitions;
    std::vector<Material> materials;
    std::vector<Layer> layers;
    std::vector<Scene> scenes;
    std::optional<Camera> camera;
    Float3 boundsMin;
    Float3 boundsMax;
    Stats stats;
    SKPFileInfo fileInfo;
    std::optional<std::string> loadWarning;
    std::optional<std::filesystem::path> textureDirectory;

    const std::vector<LayerGroup>& layerGroups() const { return layerGroups_; }

    Float3 size() const { return boundsMax - boundsMin; }
    Float3 center() const { return (boundsMin + boundsMax) * 0.5f; }
    // Whether the viewer treats the model as a flat drawing (top view, 2D navigation).
    bool isPlanar2D() const;

    friend bool operator==(const SKPModel&, const SKPModel&) = default;

  private:
    std::vector<LayerGroup> layerGroups_;
};

}  // namespace vistrel

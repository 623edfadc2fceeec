// Turns one open SketchUp library model into an SKPModel. Lives for one load.
//
// Faces are triangulated by the library and flushed into one mesh per (material, layer) of each
// definition; groups get definitions of their own, component definitions are converted once.
// Anything that fails below the entity root is skipped, so that a damaged model still shows
// what can be read; only a failing SUModelGetEntities (api) and cancellation abort. The caller
// holds SKPReader::lock() and releases the library model.
#pragma once

#include <chrono>
#include <filesystem>
#include <optional>
#include <unordered_map>
#include <utility>
#include <vector>

#include "sketchup/SKPReader.h"
#include "sketchup/SketchUpFunctions.h"

namespace vistrel::SKPReader {

class Converter {
  public:
    // `f` must have every mandatory slot; empty optional slots are respected.
    Converter(const SketchUpAPI::Functions& f, ProgressCallback progress, CancelCheck isCancelled);

    // Throws SKPError::api("SUModelGetEntities", code) or SKPError::cancelled. On a throw the
    // texture folder made so far stays in place: the caller removes it (removeTextures).
    SKPModel convertModel(SUHandle model, const SKPFileInfo& fileInfo, int32_t loadStatus,
                          std::chrono::steady_clock::time_point start);

    // The private folder of exported textures, once one was made.
    const std::optional<std::filesystem::path>& textureDirectory() const {
        return textureDirectory_;
    }
    // Removes the texture folder; a failure is swallowed.
    void removeTextures();

  private:
    void report(const std::string& phase, int64_t faces, double fraction) const;
    std::string string(SUResult (*getter)(SUHandle, SUHandle*), SUHandle owner) const;
    void readMaterials(SUHandle model);
    void readLayers(SUHandle model);
    int layer(SUHandle element) const;
    std::optional<int> material(SUHandle element) const;
    std::optional<int> knownMaterial(SUResult (*getter)(SUHandle, SUHandle*), SUHandle owner) const;
    bool hidden(SUHandle element) const;
    std::pair<Definition, Box> convert(SUHandle entities, const std::string& name, int depth);
    void convertFaces(SUHandle entities, Definition& definition, Box& box);
    void convertEdges(SUHandle entities, Definition& definition, Box& box);
    void convertGuidePoints(SUHandle entities, Definition& definition, Box& box);
    void convertGroups(SUHandle entities, Definition& definition, Box& box, int depth);
    void convertInstances(SUHandle entities, Definition& definition, Box& box, int depth);
    // Appends V vertices and T triangles from the scratch buffers; uvScale set reads `stq`.
    void append(Mesh& mesh, size_t vertexCount, size_t triangleCount, std::optional<double> uvScale,
                Box& box);
    std::optional<Camera> camera(SUHandle camera) const;
    Scene scene(SUHandle scene) const;

    SketchUpAPI::Functions f;
    ProgressCallback progress;
    CancelCheck isCancelled;
    std::vector<Material> materials;
    std::unordered_map<SUHandle, int> materialIndex;
    std::vector<bool> textured;
    std::optional<std::filesystem::path> textureDirectory_;
    std::vector<Layer> layers;
    std::unordered_map<SUHandle, int> layerIndex;
    std::vector<Definition> definitions;
    std::unordered_map<SUHandle, std::pair<int, Box>> definitionCache;
    Stats stats;
    std::vector<SUPoint3D> points, normals, stq;
    std::vector<size_t> indices;
};

}  // namespace vistrel::SKPReader

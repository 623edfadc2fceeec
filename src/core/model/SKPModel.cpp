#include "model/SKPModel.h"

#include <algorithm>

#include "model/LayerGrouping.h"

namespace vistrel {

SKPModel::SKPModel(Definition root, std::vector<Definition> definitions,
                   std::vector<Material> materials, std::vector<Layer> layers,
                   std::vector<Scene> scenes, std::optional<Camera> camera, Float3 boundsMin,
                   Float3 boundsMax, Stats stats, SKPFileInfo fileInfo,
                   std::optional<std::string> loadWarning,
                   std::optional<std::filesystem::path> textureDirectory)
    : root(std::move(root)),
      definitions(std::move(definitions)),
      materials(std::move(materials)),
      layers(std::move(layers)),
      scenes(std::move(scenes)),
      camera(std::move(camera)),
      boundsMin(boundsMin),
      boundsMax(boundsMax),
      stats(stats),
      fileInfo(std::move(fileInfo)),
      loadWarning(std::move(loadWarning)),
      textureDirectory(std::move(textureDirectory)),
      layerGroups_(buildLayerGroups(this->layers)) {}

bool SKPModel::isPlanar2D() const {
    Float3 s = size();
    float m = std::max(s.x, s.y);
    if (!(m > 0.0001f)) return false;
    const bool cad = fileInfo.isCAD();
    if (s.z <= m * 0.01f) {
        if (cad) return true;
        if (stats.faces == 0) return true;
    }
    if (!cad) return false;
    if (stats.edges < 1) return false;
    if (stats.edges > 1499) return !(stats.faces >= stats.edges / 25);
    return !(stats.faces >= 60);
}

}  // namespace vistrel

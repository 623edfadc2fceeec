#include "LayerGrouping.h"

namespace vistrel {

// Placeholder: one single per layer until the name-based grouping lands.
std::vector<LayerGroup> buildLayerGroups(const std::vector<Layer>& layers) {
    std::vector<LayerGroup> groups;
    for (int i = 0; i < int(layers.size()); ++i)
        groups.push_back(
            {"layer-" + std::to_string(i), layers[i].name, {i}, {{i, layers[i].name}}});
    return groups;
}

}  // namespace vistrel

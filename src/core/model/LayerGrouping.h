// Turns a flat list of layers into sidebar rows: tag folders where the file has them, otherwise
// shared name prefixes ("A-WALL-EXT", "Mur 2d", "Plan:Étage 1"). Pure and stable: the result
// follows the layers' order. Case and diacritics are folded with utf8proc.
#pragma once

#include <vector>

#include "model/SKPModel.h"

namespace vistrel {

std::vector<LayerGroup> buildLayerGroups(const std::vector<Layer>& layers);

}  // namespace vistrel

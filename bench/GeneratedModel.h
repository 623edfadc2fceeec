// A large, deterministic architectural-like model for benchmarks: `definitions` leaf parts of
// 512 triangles and 64 edge segments each, placed `perGroup` times in each of `groups` groups
// on a grid, with layers, materials and some mirrored instances.
#pragma once

#include "model/SKPModel.h"

namespace vistrel::bench {

SKPModel generateModel(int definitions, int groups, int perGroup);

}  // namespace vistrel::bench

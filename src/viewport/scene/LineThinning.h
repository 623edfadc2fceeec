// Line segments as drawn at a zoom where many fall far below a pixel. A software rasteriser pays
// for every segment, seen or not; segments shorter than a cell, merged per cell, cost one.
#pragma once

#include <cstddef>
#include <vector>

#include "model/Math.h"

namespace vistrel::viewport::LineThinning {

// The segments of `points` (consecutive pairs, `count` points) for cells of size `cell` from
// `origin`: those at least a cell long unchanged and first, then, per cell holding the midpoints
// of shorter ones, one segment between their extreme endpoints along the cell's longest extent.
// False, with `out` cleared, when that keeps more than `limit` segments or when a short one lies
// 2^21 cells or more from `origin`.
bool thin(const Float3* points, size_t count, Float3 origin, float cell, size_t limit,
          std::vector<Float3>& out);

}  // namespace vistrel::viewport::LineThinning

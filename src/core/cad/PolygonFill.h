// Fills regions bounded by segments by the even-odd rule (islands stay open; the segments'
// order and direction do not matter) as triangles: a sweep over the heights of the ends cuts
// the area into trapezoids between pairs of crossing segments.
// Edges that cross each other inside a band are not split, so self-intersecting boundaries are
// filled only approximately. Coordinates in x and y; z is ignored.
#pragma once

#include <array>
#include <cstddef>
#include <vector>

#include "cad/CADEntity.h"

namespace vistrel::PolygonFill {

using Segment = std::array<CADPoint, 2>;

// Appends triangles (counter-clockwise) covering the inside; stops after `maxTriangles`, or
// once `maxWork` segments have been looked at over all bands.
void fill(const std::vector<Segment>& boundary, size_t maxTriangles, size_t maxWork,
          std::vector<std::array<CADPoint, 3>>& out);

// The inside stretches of the line through `origin` along `direction` (unit), as parameter
// pairs (t0, t1) along it, by the even-odd rule.
void clipLine(const std::vector<Segment>& boundary, const CADPoint& origin,
              const CADPoint& direction, std::vector<double>& out);

}  // namespace vistrel::PolygonFill

// Curves to points within a chord error: no chord lies farther than `tolerance` from its curve
// (the converter takes the tolerance relative to the drawing's size). Every curve is capped in
// points, so that a hostile radius or knot vector cannot explode memory.
#pragma once

#include <cstddef>
#include <vector>

#include "cad/CADSpline.h"

namespace vistrel::CurveTessellation {

constexpr int maxArcSegments = 1024;
constexpr size_t maxSplinePoints = 8192;

// Segments for an arc of `radius` over `sweep` radians: at least one per eighth of a turn (and
// one in all), at most maxArcSegments. Non-finite input gives 1.
int arcSegments(double radius, double sweep, double tolerance);

// Appends the spline's points, ends included: the NURBS when it has enough control points (a
// broken knot vector is replaced by a clamped uniform one), else a Catmull-Rom curve through the
// fit points. Appends nothing when neither gives two points.
void spline(const CADSpline& s, double tolerance, std::vector<CADPoint>& out);

}  // namespace vistrel::CurveTessellation

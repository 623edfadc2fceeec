// A DIMENSION's own geometry, for when the block it names is missing or empty: its kind (70 &
// 7: 0 rotated, 1 aligned, 3 diameter, 4 radius), definition point (10), text middle (11),
// extension line origins (13, 14), the point on a curve (15), rotation (50, degrees) and
// measurement (42), in world coordinates.
#pragma once

#include "cad/CADEntity.h"

namespace vistrel {

struct CADDimension {
    int type = 0;
    CADPoint line, textMiddle, first, second, onCurve;
    double rotationDeg = 0, measurement = 0;
};

}  // namespace vistrel

// A SPLINE's data, in world coordinates: a NURBS by degree, knots, control points and weights
// (all 1 when absent), or, lacking control points, the fit points it passes through.
#pragma once

#include <vector>

#include "cad/CADEntity.h"

namespace vistrel {

struct CADSpline {
    int degree = 3;
    bool closed = false;
    std::vector<double> knots;
    std::vector<CADPoint> control;
    std::vector<double> weights;
    std::vector<CADPoint> fit;
};

}  // namespace vistrel

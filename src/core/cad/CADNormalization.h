// Makes CAD models viewable in metres: unit calibration, recentring of far-off drawings,
// dropping the importer's "*Active" scene, flattening stray heights in plans. Each function
// returns a new model; pass an rvalue to let it reuse the arrays of the old one.
#pragma once

#include "model/SKPModel.h"

namespace vistrel {

// A largest side above 5000 is taken for millimetres (x 0.001), one in (0, 0.05) for
// kilometres (x 1000); a plan centre beyond max(2 x extent, 200) moves to the origin; a lone
// "*Active" scene goes; a flat drawing taller than a quarter of its extent is flattened.
SKPModel normalizeCADModel(SKPModel model);
// Every position of root and definitions, instance translations, bounds and cameras times
// factor; normals and the 3 x 3 part of transforms stay.
SKPModel scaleModel(SKPModel model, float factor);
// Root geometry, root children's translations and the bounds moved by offset; definitions,
// placed through the children, stay.
SKPModel translateRoot(SKPModel model, Float3 offset);
// Mesh and edge positions whose |z| exceeds maxAbsZ get z = 0, everywhere; the bounds' z is
// clamped to [-maxAbsZ, maxAbsZ]. Instance translations stay.
SKPModel flattenOutlierZIn2DPlan(SKPModel model, float maxAbsZ);

}  // namespace vistrel

// Makes CAD models viewable in metres: unit calibration, recentring of far-off drawings,
// dropping the importer's "*Active" scene, flattening stray heights in plans. Each function
// returns a new model.
#pragma once

#include "SKPModel.h"

namespace vistrel {

SKPModel normalizeCADModel(const SKPModel& model);
SKPModel scaleModel(const SKPModel& model, float factor);
SKPModel translateRoot(const SKPModel& model, Float3 offset);
SKPModel flattenOutlierZIn2DPlan(const SKPModel& model, float maxAbsZ);

}  // namespace vistrel

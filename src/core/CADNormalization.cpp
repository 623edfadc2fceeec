// Placeholder until the normalisation lands.
#include "CADNormalization.h"

namespace vistrel {

SKPModel normalizeCADModel(const SKPModel& model) {
    return model;
}
SKPModel scaleModel(const SKPModel& model, float) {
    return model;
}
SKPModel translateRoot(const SKPModel& model, Float3) {
    return model;
}
SKPModel flattenOutlierZIn2DPlan(const SKPModel& model, float) {
    return model;
}

}  // namespace vistrel

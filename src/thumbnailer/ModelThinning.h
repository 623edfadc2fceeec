// A huge plan drawn at thumbnail size: past some ten thousand placements and a few hundred
// thousand edge segments, building and drawing the scene costs seconds and adds nothing a few
// hundred pixels can show. Thinning keeps an even sample so the picture keeps its look and
// framing.
#pragma once

#include <cstdint>

#include "model/SKPModel.h"

namespace vistrel::thumbnailer {

struct ThinningBudget {
    int64_t instances = 20'000;
    int64_t edges = 400'000;  // segments
};

// Keeps every k-th placement of each long list of placements and every k-th
// segment of each edge set, k chosen from `model.stats` so the sample fits `budget`. A model
// within budget is left as it is. Bounds and cameras are kept, so the framing does not change.
void thinToBudget(SKPModel& model, const ThinningBudget& budget = {});

}  // namespace vistrel::thumbnailer

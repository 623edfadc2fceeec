#include "ModelThinning.h"

namespace vistrel::thumbnailer {

namespace {

int64_t stride(int64_t count, int64_t budget) {
    return budget > 0 && count > budget ? (count + budget - 1) / budget : 1;
}

template <typename T>
void keepEvery(std::vector<T>& items, int64_t k, size_t group = 1) {
    if (k <= 1) return;
    size_t kept = 0;
    const size_t step = size_t(k) * group;
    for (size_t i = 0; i + group <= items.size(); i += step)
        for (size_t j = 0; j < group; ++j) items[kept++] = items[i + j];
    items.resize(kept);
}

}  // namespace

void thinToBudget(SKPModel& model, const ThinningBudget& budget) {
    const int64_t placements = stride(model.stats.instances, budget.instances);
    // Short lists are the parts of one object (a window's frame and panes) and stay whole; the
    // long ones are what repeats across a plan.
    auto thinPlacements = [placements](Definition& definition) {
        if (int64_t(definition.children.size()) >= 4 * placements)
            keepEvery(definition.children, placements);
    };
    thinPlacements(model.root);
    for (Definition& definition : model.definitions) thinPlacements(definition);
    const int64_t segments = stride(model.stats.edges / placements, budget.edges);
    auto thinEdges = [segments](Definition& definition) {
        for (EdgeSet& set : definition.edges) keepEvery(set.positions, segments, 2);
    };
    thinEdges(model.root);
    for (Definition& definition : model.definitions) thinEdges(definition);
}

}  // namespace vistrel::thumbnailer

// Runs body(i) for i in [0, count) on all cores, one iteration at a time per worker, and
// returns when every iteration is done. Iterations must not share mutable state.
#pragma once

#include <cstddef>
#include <functional>

namespace vistrel::viewport {

void parallelFor(size_t count, const std::function<void(size_t)>& body);

}  // namespace vistrel::viewport

#include "scene/Geometry.h"

#include <limits>

namespace vistrel::viewport {

void Geometry::computeBounds() {
    if (positions.empty()) {
        boundsMin = boundsMax = {0, 0, 0};
        return;
    }
    constexpr float inf = std::numeric_limits<float>::infinity();
    Float3 lo{inf, inf, inf}, hi{-inf, -inf, -inf};
    for (size_t i = 0; i < positions.size(); ++i) {
        lo = min(lo, positions[i]);
        hi = max(hi, positions[i]);
    }
    boundsMin = lo;
    boundsMax = hi;
}

}  // namespace vistrel::viewport

#include "timing/SteadyClock.h"

#include <chrono>

namespace vistrel::viewport {

double SteadyClock::now() const {
    using Seconds = std::chrono::duration<double>;
    return std::chrono::duration_cast<Seconds>(std::chrono::steady_clock::now().time_since_epoch())
        .count();
}

}  // namespace vistrel::viewport

// Clock on std::chrono::steady_clock.
#pragma once

#include "timing/Clock.h"

namespace vistrel::viewport {

class SteadyClock final : public Clock {
  public:
    double now() const override;
};

}  // namespace vistrel::viewport

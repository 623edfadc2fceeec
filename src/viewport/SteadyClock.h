// Clock on std::chrono::steady_clock.
#pragma once

#include "Clock.h"

namespace vistrel::viewport {

class SteadyClock final : public Clock {
  public:
    double now() const override;
};

}  // namespace vistrel::viewport

// A clock that moves only when the test says so.
#pragma once

#include "timing/Clock.h"

namespace vistrel::test {

class ManualClock final : public viewport::Clock {
  public:
    double now() const override { return now_; }
    void advance(double seconds) { now_ += seconds; }

  private:
    double now_ = 1000;
};

}  // namespace vistrel::test

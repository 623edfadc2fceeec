// A monotonic time source in seconds. The app and headless modes use SteadyClock; tests step
// a clock of their own by hand.
#pragma once

namespace vistrel::viewport {

class Clock {
  public:
    virtual ~Clock() = default;
    // Seconds from an arbitrary origin; never decreases.
    virtual double now() const = 0;
};

}  // namespace vistrel::viewport

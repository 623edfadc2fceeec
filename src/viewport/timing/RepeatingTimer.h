// A repeating timer that fires on the main thread, keeps firing during menu tracking and live
// resize, and can be stopped from inside its own callback. The app backs it with a QTimer;
// tests fire it by hand.
#pragma once

#include <functional>

namespace vistrel::viewport {

class RepeatingTimer {
  public:
    virtual ~RepeatingTimer() = default;
    // Calls `callback` every `interval` seconds until stop(). Starting a running timer is a
    // programming error.
    virtual void start(double interval, std::function<void()> callback) = 0;
    // No further calls after this returns; harmless on a stopped timer.
    virtual void stop() = 0;
    virtual bool isRunning() const = 0;
};

}  // namespace vistrel::viewport

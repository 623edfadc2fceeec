// RepeatingTimer on a precise QTimer of the main thread's event loop. Qt keeps timers firing
// while a menu is open or the window is resized, as the camera's glide needs.
#pragma once

#include <QTimer>

#include <functional>

#include "timing/RepeatingTimer.h"

namespace vistrel::app {

class QtRepeatingTimer final : public viewport::RepeatingTimer {
  public:
    QtRepeatingTimer();
    void start(double interval, std::function<void()> callback) override;
    void stop() override;
    bool isRunning() const override { return timer_.isActive(); }

  private:
    QTimer timer_;
    std::function<void()> callback_;
};

// The highest refresh rate over all screens, or 0 without a GUI application.
double maximumScreenFramesPerSecond();

}  // namespace vistrel::app

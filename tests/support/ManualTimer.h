// A repeating timer that fires only when the test calls fire().
#pragma once

#include <cassert>
#include <functional>

#include "timing/RepeatingTimer.h"

namespace vistrel::test {

class ManualTimer final : public viewport::RepeatingTimer {
  public:
    void start(double, std::function<void()> callback) override {
        assert(!running_ && "starting a running timer");
        callback_ = std::move(callback);
        running_ = true;
        ++starts_;
    }
    // Keeps the callback: stop() is often called from inside it.
    void stop() override { running_ = false; }
    bool isRunning() const override { return running_; }

    void fire() {
        if (running_) callback_();
    }
    int starts() const { return starts_; }

  private:
    std::function<void()> callback_;
    bool running_ = false;
    int starts_ = 0;
};

}  // namespace vistrel::test

// A value handed between the main thread and a worker, read and written under its own lock.
#pragma once

#include <mutex>
#include <utility>

namespace vistrel::app {

template <class T>
class LockBox {
  public:
    explicit LockBox(T value = T()) : value_(std::move(value)) {}

    T get() const {
        std::lock_guard guard(lock_);
        return value_;
    }
    void set(T value) {
        std::lock_guard guard(lock_);
        value_ = std::move(value);
    }

  private:
    mutable std::mutex lock_;
    T value_;
};

}  // namespace vistrel::app

// Gives the keyboard back, when a modal dialog ends, to the window that was active before it.
// A window manager does this itself; without one (a bare X server, some kiosks) that window's
// shortcuts would stay dead until it is clicked.
#pragma once

#include <QApplication>
#include <QPointer>
#include <QWidget>

namespace vistrel::app {

class KeepActiveWindow {
  public:
    KeepActiveWindow() : window_(QApplication::activeWindow()) {}
    ~KeepActiveWindow() {
        if (window_) window_->activateWindow();
    }
    KeepActiveWindow(const KeepActiveWindow&) = delete;
    KeepActiveWindow& operator=(const KeepActiveWindow&) = delete;

    // The window the dialog belongs to; null when none was active.
    QWidget* window() const { return window_; }
    // Leaves the keyboard where it goes next, as when the dialog opened a new window.
    void release() { window_ = nullptr; }

  private:
    QPointer<QWidget> window_;
};

}  // namespace vistrel::app

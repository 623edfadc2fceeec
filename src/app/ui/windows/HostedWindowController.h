// One auxiliary window that lives for the whole run: made on first show, kept when closed, and
// brought forward when asked again. Each show hosts a fresh content view, sizes the window to it
// and keeps the window where it was; the user cannot resize it. Main thread only.
#pragma once

#include <QPointer>

#include <functional>
#include <string>

class QWidget;

namespace vistrel::app {

class HostedWindowController {
  public:
    explicit HostedWindowController(std::function<std::string()> titleProvider);
    virtual ~HostedWindowController();
    HostedWindowController(const HostedWindowController&) = delete;
    HostedWindowController& operator=(const HostedWindowController&) = delete;

    // Empty until first shown.
    QWidget* window() const;

  protected:
    // Takes `content`, replacing the one shown before.
    void show(QWidget* content);
    // For a view's close callback.
    std::function<void()> closer() const;

  private:
    std::function<std::string()> titleProvider_;
    QPointer<QWidget> window_;
    QPointer<QWidget> content_;
};

}  // namespace vistrel::app

// The settings form. Each control shows the setting as it was when the view was made and writes
// it the moment it changes; documents already open keep their own state, except the trackpad's
// two-finger gesture, which every view follows at once. A new language waits for the next start.
#pragma once

#include <QWidget>

#include <functional>

namespace vistrel::app {

class SettingsView : public QWidget {
    Q_OBJECT

  public:
    explicit SettingsView(QWidget* parent = nullptr);

    std::function<void()> onClose;
};

}  // namespace vistrel::app

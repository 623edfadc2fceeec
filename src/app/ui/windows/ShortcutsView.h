// The keyboard card: every shortcut of the menus, the camera views, the mouse and trackpad
// gestures and the moving keys, each with what it does.
#pragma once

#include <QWidget>

#include <functional>

namespace vistrel::app {

class ShortcutsView : public QWidget {
    Q_OBJECT

  public:
    explicit ShortcutsView(QWidget* parent = nullptr);

    std::function<void()> onClose;
};

}  // namespace vistrel::app

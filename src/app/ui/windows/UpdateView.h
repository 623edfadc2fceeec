// The update window's content: the installed version and one page per state of the updater,
// rebuilt whenever that state changes, with the buttons that state offers.
#pragma once

#include <QWidget>

#include <functional>

class QVBoxLayout;

namespace vistrel::app {

class Updater;

class UpdateView : public QWidget {
    Q_OBJECT

  public:
    // `updater` outlives the view.
    explicit UpdateView(Updater& updater, QWidget* parent = nullptr);

    std::function<void()> onClose;

  private:
    void refresh();

    Updater& updater_;
    QWidget* page_ = nullptr;
    QVBoxLayout* column_;
};

}  // namespace vistrel::app

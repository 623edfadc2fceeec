// A floating panel of fine settings: a dark rounded frame that closes when a click lands
// outside it. Subclasses fill `content()`; the panel sizes itself to it.
#pragma once

#include <QFrame>

class QVBoxLayout;

namespace vistrel::app {

class Popover : public QFrame {
    Q_OBJECT

  public:
    explicit Popover(QWidget* parent);

    // Shows the panel under `anchor`, moved as little as needed to lie inside the anchor's
    // screen.
    void popUp(const QWidget& anchor);
    // Where a panel of `size` goes under an anchor at `anchor` (global coordinates) on a screen
    // whose available area is `screen`: left edges aligned, then pushed inside; above the
    // anchor when there is no room below.
    static QPoint placement(const QRect& anchor, const QSize& size, const QRect& screen);

  protected:
    QVBoxLayout* content() const { return content_; }
    // Reads the model again, ranges included; called whenever the panel shows.
    virtual void refresh() {}
    void showEvent(QShowEvent* event) override;
    void paintEvent(QPaintEvent* event) override;

  private:
    QVBoxLayout* content_;
};

}  // namespace vistrel::app

#include "ui/popovers/Popover.h"

#include <QPainter>
#include <QPainterPath>
#include <QScreen>
#include <QVBoxLayout>

#include <algorithm>

#include "ui/Theme.h"

namespace vistrel::app {

namespace {

constexpr int kRadius = 10, kMargin = 14, kGap = 4;

}  // namespace

Popover::Popover(QWidget* parent)
    : QFrame(parent, Qt::Popup | Qt::FramelessWindowHint), content_(new QVBoxLayout(this)) {
    setAttribute(Qt::WA_TranslucentBackground);
    content_->setContentsMargins(kMargin, kMargin, kMargin, kMargin);
    content_->setSpacing(6);
    content_->setSizeConstraint(QLayout::SetFixedSize);
}

QPoint Popover::placement(const QRect& anchor, const QSize& size, const QRect& screen) {
    QPoint at(anchor.left(), anchor.bottom() + 1 + kGap);
    if (at.y() + size.height() > screen.bottom() + 1 &&
        anchor.top() - kGap - size.height() >= screen.top())
        at.setY(anchor.top() - kGap - size.height());
    at.setX(std::clamp(at.x(), screen.left(),
                       std::max(screen.left(), screen.right() + 1 - size.width())));
    at.setY(std::clamp(at.y(), screen.top(),
                       std::max(screen.top(), screen.bottom() + 1 - size.height())));
    return at;
}

void Popover::popUp(const QWidget& anchor) {
    refresh();
    adjustSize();
    const QRect global(anchor.mapToGlobal(QPoint(0, 0)), anchor.size());
    QScreen* screen = anchor.screen();
    const QRect area = screen ? screen->availableGeometry() : global;
    move(placement(global, size(), area));
    show();
    raise();
}

void Popover::showEvent(QShowEvent* event) {
    refresh();
    content_->activate();  // rows shown or hidden by refresh() take their places at once
    QFrame::showEvent(event);
}

void Popover::paintEvent(QPaintEvent*) {
    QPainter painter(this);
    painter.setRenderHint(QPainter::Antialiasing);
    QPainterPath path;
    path.addRoundedRect(QRectF(rect()).adjusted(0.5, 0.5, -0.5, -0.5), kRadius, kRadius);
    painter.fillPath(path, QColor(Theme::panel));
    painter.setPen(QPen(QColor(255, 255, 255, 28), 1));
    painter.drawPath(path);
}

}  // namespace vistrel::app

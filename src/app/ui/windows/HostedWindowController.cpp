#include "ui/windows/HostedWindowController.h"

#include <QApplication>
#include <QGuiApplication>
#include <QScreen>
#include <QVBoxLayout>
#include <QWidget>

#include "ui/Theme.h"

namespace vistrel::app {

HostedWindowController::HostedWindowController(std::function<std::string()> titleProvider)
    : titleProvider_(std::move(titleProvider)) {}

HostedWindowController::~HostedWindowController() {
    // Shared controllers outlive the application, and a widget cannot outlive that.
    if (QCoreApplication::instance()) delete window_;
}

QWidget* HostedWindowController::window() const {
    return window_;
}

void HostedWindowController::show(QWidget* content) {
    const bool first = !window_;
    if (first) {
        window_ = new QWidget(nullptr, Qt::Window | Qt::WindowTitleHint |
                                           Qt::WindowCloseButtonHint | Qt::CustomizeWindowHint);
        window_->setAttribute(Qt::WA_DeleteOnClose, false);
        window_->setAutoFillBackground(true);
        QPalette palette = window_->palette();
        palette.setColor(QPalette::Window, QColor(Theme::background));
        window_->setPalette(palette);
        auto* layout = new QVBoxLayout(window_);
        layout->setContentsMargins(0, 0, 0, 0);
        // The window takes its content's size and keeps it.
        layout->setSizeConstraint(QLayout::SetFixedSize);
    }
    window_->setWindowTitle(QString::fromStdString(titleProvider_()));
    delete content_;
    content_ = content;
    window_->layout()->addWidget(content);
    window_->layout()->activate();
    if (first) {
        if (QScreen* screen = QGuiApplication::primaryScreen()) {
            QRect frame(QPoint(0, 0), window_->sizeHint());
            frame.moveCenter(screen->availableGeometry().center());
            window_->move(frame.topLeft());
        }
    }
    window_->show();
    window_->raise();
    window_->activateWindow();
}

std::function<void()> HostedWindowController::closer() const {
    // Controllers are shared and never go away before their windows.
    return [this] {
        if (window_) window_->close();
    };
}

}  // namespace vistrel::app

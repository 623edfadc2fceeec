#include "ui/DocumentWindow.h"

#include <QCloseEvent>
#include <QGuiApplication>
#include <QMenuBar>
#include <QScreen>

#include "documents/DocumentController.h"
#include "documents/DocumentModel.h"
#include "documents/SKPDocument.h"
#include "ui/ContentView.h"
#include "ui/DocumentActions.h"
#include "ui/MainMenu.h"
#include "ui/StatusBar.h"

namespace vistrel::app {

namespace {

int openWindows() {
    auto* controller = DocumentController::shared();
    return controller ? int(controller->documents().size()) : 0;
}

}  // namespace

DocumentWindow::DocumentWindow(SKPDocument& document)
    : document_(document), model_(document.model()) {
    setAttribute(Qt::WA_DeleteOnClose, false);
    setMinimumSize(760, 480);
    if (auto& info = model_.info()) {
        setWindowTitle(QString::fromStdString(info->url.filename().string()));
        setWindowFilePath(QString::fromStdString(info->url.string()));
    } else {
        setWindowTitle("Vistrel");
    }
    actions_ = new DocumentActions(*this, document_);
    content_ = new ContentView(document_, *actions_, this);
    setCentralWidget(content_);
    MainMenu::build(*this, *actions_);
    placeOnScreen();
}

void DocumentWindow::placeOnScreen() {
    const QSize content(contentWidth, contentHeight);
    resize(content + QSize(0, menuBar()->sizeHint().height()));
    QScreen* screen = QGuiApplication::primaryScreen();
    if (!screen) return;
    const QRect available = screen->availableGeometry();
    QRect frame(QPoint(0, 0), size().boundedTo(available.size()));
    frame.moveCenter(available.center());
    // Further windows cascade from the first.
    const int step = 24 * std::max(0, openWindows() - 1);
    frame.translate(step, step);
    resize(frame.size());
    move(frame.topLeft());
}

ViewportWidget* DocumentWindow::viewport() const {
    return content_->viewport();
}

LoadingOverlay& DocumentWindow::overlay() const {
    return content_->overlay();
}

Sidebar& DocumentWindow::sidebar() const {
    return content_->sidebar();
}

QString DocumentWindow::statusLine() const {
    return content_->statusBar().statusLine();
}

bool DocumentWindow::openDropped(const QMimeData* data) {
    return content_->openDropped(data);
}

QString DocumentWindow::flashText() const {
    return content_->flashText();
}

void DocumentWindow::closeEvent(QCloseEvent* event) {
    event->accept();
    document_.close();
}

}  // namespace vistrel::app

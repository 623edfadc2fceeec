#include "ui/DocumentWindow.h"

#include <QCloseEvent>
#include <QDragEnterEvent>
#include <QDropEvent>
#include <QGridLayout>
#include <QGuiApplication>
#include <QHBoxLayout>
#include <QLabel>
#include <QMenuBar>
#include <QMimeData>
#include <QScreen>
#include <QStatusBar>
#include <QUrl>

#include "documents/DocumentController.h"
#include "documents/DocumentModel.h"
#include "documents/SKPDocument.h"
#include "ui/LoadingOverlay.h"
#include "ui/MainMenu.h"
#include "ui/Theme.h"
#include "ui/ViewportWidget.h"
#include "ui/sidebar/Sidebar.h"

namespace vistrel::app {

namespace {

// The local files among dropped URLs; web links and other items are left out.
std::vector<std::string> droppedFiles(const QMimeData* data) {
    std::vector<std::string> files;
    if (!data || !data->hasUrls()) return files;
    for (const QUrl& url : data->urls())
        if (url.isLocalFile()) files.push_back(url.toLocalFile().toStdString());
    return files;
}

int openWindows() {
    auto* controller = DocumentController::shared();
    return controller ? int(controller->documents().size()) : 0;
}

}  // namespace

DocumentWindow::DocumentWindow(SKPDocument& document)
    : document_(document), model_(document.model()) {
    setAttribute(Qt::WA_DeleteOnClose, false);
    setAcceptDrops(true);
    setMinimumSize(760, 480);
    if (auto& info = model_.info()) {
        setWindowTitle(QString::fromStdString(info->url.filename().string()));
        setWindowFilePath(QString::fromStdString(info->url.string()));
    } else {
        setWindowTitle("Vistrel");
    }

    auto* central = new QWidget(this);
    auto* row = new QHBoxLayout(central);
    row->setContentsMargins(0, 0, 0, 0);
    row->setSpacing(0);
    sidebar_ = new Sidebar(model_, central);
    row->addWidget(sidebar_);

    // Everything over the viewport shares its cell; later widgets lie on top.
    auto* area = new QWidget(central);
    auto* stack = new QGridLayout(area);
    stack->setContentsMargins(0, 0, 0, 0);
    // Qt cannot show a GL widget on its offscreen platform; the preview image stands in.
    if (ViewportWidget::isSupported()) viewport_ = new ViewportWidget(model_, area);
    preview_ = new QLabel(area);
    preview_->setAlignment(Qt::AlignCenter);
    overlay_ = new LoadingOverlay(model_, area);
    flash_ = new QLabel(area);
    flash_->setStyleSheet(QString("background: rgba(20,20,22,210); color: %1; padding: 8px 14px;"
                                  "border-radius: 8px;")
                              .arg(Theme::text));
    if (viewport_) stack->addWidget(viewport_, 0, 0);
    stack->addWidget(preview_, 0, 0);
    stack->addWidget(overlay_, 0, 0);
    stack->addWidget(flash_, 0, 0, Qt::AlignHCenter | Qt::AlignBottom);
    stack->setRowMinimumHeight(0, 1);
    row->addWidget(area, 1);
    setCentralWidget(central);

    status_ = new QLabel(this);
    status_->setTextInteractionFlags(Qt::TextSelectableByMouse);
    status_->setWordWrap(true);  // a long failure message takes a second line
    status_->installEventFilter(this);
    statusBar()->addWidget(status_, 1);

    MainMenu::build(*this, document_);

    for (auto signal :
         {&DocumentModel::stateChanged, &DocumentModel::infoChanged, &DocumentModel::skpChanged,
          &DocumentModel::visibleSizeChanged, &DocumentModel::isFreeFlyingChanged})
        connect(&model_, signal, this, &DocumentWindow::refreshStatus);
    connect(&model_, &DocumentModel::flashMessageChanged, this, &DocumentWindow::refreshFlash);
    connect(&model_, &DocumentModel::snapshotPreviewImageChanged, this,
            &DocumentWindow::refreshPreview);
    refreshStatus();
    refreshFlash();
    refreshPreview();
    placeOnScreen();
}

void DocumentWindow::placeOnScreen() {
    const QSize content(contentWidth, contentHeight);
    resize(content + QSize(0, menuBar()->sizeHint().height() + statusBar()->sizeHint().height()));
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

QString DocumentWindow::statusLine() const {
    return status_->text();
}

QString DocumentWindow::flashText() const {
    return flash_->isVisibleTo(this) ? flash_->text() : QString();
}

void DocumentWindow::refreshStatus() {
    status_->setText(QString::fromStdString(model_.statusText()));
    fitStatus();
}

// The status bar asks its label for a height without knowing the width; a wrapping label would
// then keep two lines at any width.
void DocumentWindow::fitStatus() {
    status_->setFixedHeight(status_->heightForWidth(std::max(1, status_->width())));
}

bool DocumentWindow::eventFilter(QObject* watched, QEvent* event) {
    if (watched == status_ && event->type() == QEvent::Resize) fitStatus();
    return QMainWindow::eventFilter(watched, event);
}

void DocumentWindow::refreshFlash() {
    const auto& message = model_.flashMessage();
    flash_->setVisible(message.has_value());
    if (message) {
        flash_->setText(QString::fromStdString(*message));
        flash_->raise();
    }
}

void DocumentWindow::refreshPreview() {
    const QImage& image = model_.snapshotPreviewImage();
    preview_->setVisible(!image.isNull());
    if (!image.isNull()) preview_->setPixmap(QPixmap::fromImage(image));
}

void DocumentWindow::closeEvent(QCloseEvent* event) {
    event->accept();
    document_.close();
}

void DocumentWindow::dragEnterEvent(QDragEnterEvent* event) {
    if (!droppedFiles(event->mimeData()).empty()) event->acceptProposedAction();
}

bool DocumentWindow::openDropped(const QMimeData* data) {
    const auto files = droppedFiles(data);
    if (files.empty()) return false;
    if (auto* controller = DocumentController::shared()) controller->openFiles(files);
    return true;
}

void DocumentWindow::dropEvent(QDropEvent* event) {
    if (openDropped(event->mimeData())) event->acceptProposedAction();
}

}  // namespace vistrel::app

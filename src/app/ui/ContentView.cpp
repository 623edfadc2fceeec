#include "ui/ContentView.h"

#include <QDragEnterEvent>
#include <QDropEvent>
#include <QGridLayout>
#include <QHBoxLayout>
#include <QLabel>
#include <QMimeData>
#include <QUrl>
#include <QVBoxLayout>

#include "documents/DocumentController.h"
#include "documents/DocumentModel.h"
#include "documents/SKPDocument.h"
#include "settings/Localization.h"
#include "ui/LoadingOverlay.h"
#include "ui/StatusBar.h"
#include "ui/Theme.h"
#include "ui/ViewportWidget.h"
#include "ui/sidebar/Sidebar.h"
#include "ui/toolbar/TopBar.h"
#include "ui/windows/AuxiliaryWindows.h"

namespace vistrel::app {

namespace {

std::vector<std::string> droppedFiles(const QMimeData* data) {
    std::vector<std::string> files;
    if (!data || !data->hasUrls()) return files;
    for (const QUrl& url : data->urls())
        if (url.isLocalFile()) files.push_back(url.toLocalFile().toStdString());
    return files;
}

}  // namespace

ContentView::ContentView(SKPDocument& document, DocumentActions& actions, QWidget* parent)
    : QWidget(parent), model_(document.model()) {
    setAcceptDrops(true);
    auto* column = new QVBoxLayout(this);
    column->setContentsMargins(0, 0, 0, 0);
    column->setSpacing(0);
    topBar_ = new TopBar(document, actions, this);
    column->addWidget(topBar_);

    auto* row = new QHBoxLayout;
    row->setContentsMargins(0, 0, 0, 0);
    row->setSpacing(0);
    sidebar_ = new Sidebar(model_, this);
    row->addWidget(sidebar_);

    // Everything over the viewport shares its cell; later widgets lie on top.
    auto* area = new QWidget(this);
    auto* stack = new QGridLayout(area);
    stack->setContentsMargins(0, 0, 0, 0);
    // Qt cannot show a GL widget on its offscreen platform; the preview image stands in.
    if (ViewportWidget::isSupported()) viewport_ = new ViewportWidget(model_, area);
    preview_ = new QLabel(area);
    preview_->setAlignment(Qt::AlignCenter);
    overlay_ = new LoadingOverlay(model_, area);
    connect(overlay_, &LoadingOverlay::cancelRequested, &document, &SKPDocument::close,
            Qt::QueuedConnection);
    const QString chip = QString(
                             "background: rgba(20,20,22,210); color: %1; padding: 8px 14px;"
                             "border-radius: 8px; margin: 12px;")
                             .arg(Theme::text);
    flash_ = new QLabel(area);
    flash_->setStyleSheet(chip);
    hovered_ = new QLabel(area);
    hovered_->setStyleSheet(chip);
    hovered_->setAttribute(Qt::WA_TransparentForMouseEvents);
    if (viewport_) stack->addWidget(viewport_, 0, 0);
    stack->addWidget(preview_, 0, 0);
    stack->addWidget(overlay_, 0, 0);
    stack->addWidget(flash_, 0, 0, Qt::AlignHCenter | Qt::AlignBottom);
    stack->addWidget(hovered_, 0, 0, Qt::AlignLeft | Qt::AlignBottom);
    stack->setRowMinimumHeight(0, 1);
    row->addWidget(area, 1);
    column->addLayout(row, 1);

    statusBar_ = new StatusBar(model_, this);
    connect(statusBar_, &StatusBar::helpRequested, this, AuxiliaryWindows::showHelp);
    connect(statusBar_, &StatusBar::shortcutsRequested, this, AuxiliaryWindows::showShortcuts);
    connect(statusBar_, &StatusBar::aboutRequested, this, AuxiliaryWindows::showAbout);
    column->addWidget(statusBar_);

    connect(&model_, &DocumentModel::flashMessageChanged, this, &ContentView::refreshFlash);
    for (auto signal : {&DocumentModel::hoveredLayerIndexChanged, &DocumentModel::stateChanged})
        connect(&model_, signal, this, &ContentView::refreshHovered);
    connect(&model_, &DocumentModel::snapshotPreviewImageChanged, this,
            &ContentView::refreshPreview);
    refreshFlash();
    refreshPreview();
    refreshHovered();
}

QString ContentView::hoveredText() const {
    return hovered_->isVisibleTo(this) ? hovered_->text() : QString();
}

void ContentView::refreshHovered() {
    const auto name = model_.isReady() ? model_.hoveredLayerName() : std::nullopt;
    hovered_->setVisible(name.has_value());
    if (name) hovered_->setText(QString::fromStdString(L("Calque : ", "Layer: ") + *name));
}

QString ContentView::flashText() const {
    return flash_->isVisibleTo(this) ? flash_->text() : QString();
}

void ContentView::refreshFlash() {
    const auto& message = model_.flashMessage();
    flash_->setVisible(message.has_value());
    if (message) {
        flash_->setText(QString::fromStdString(*message));
        flash_->raise();
    }
}

void ContentView::refreshPreview() {
    const QImage& image = model_.snapshotPreviewImage();
    preview_->setVisible(!image.isNull());
    if (!image.isNull()) preview_->setPixmap(QPixmap::fromImage(image));
}

bool ContentView::openDropped(const QMimeData* data) {
    const auto files = droppedFiles(data);
    if (files.empty()) return false;
    if (auto* controller = DocumentController::shared()) controller->openFiles(files);
    return true;
}

void ContentView::dragEnterEvent(QDragEnterEvent* event) {
    if (!droppedFiles(event->mimeData()).empty()) event->acceptProposedAction();
}

void ContentView::dropEvent(QDropEvent* event) {
    if (openDropped(event->mimeData())) event->acceptProposedAction();
}

}  // namespace vistrel::app

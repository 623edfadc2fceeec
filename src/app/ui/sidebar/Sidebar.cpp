#include "ui/sidebar/Sidebar.h"

#include <QApplication>
#include <QLabel>
#include <QListWidget>
#include <QPropertyAnimation>
#include <QSignalBlocker>
#include <QVBoxLayout>

#include <algorithm>

#include "documents/DocumentModel.h"
#include "settings/Localization.h"
#include "ui/Theme.h"
#include "ui/sidebar/LayersSection.h"
#include "ui/sidebar/ModelInspector.h"

namespace vistrel::app {

namespace {

constexpr int kSceneRowHeight = 22, kScenesShown = 6;

QLabel* title(const std::string& text, QWidget* parent) {
    auto* label = new QLabel(QString::fromStdString(text).toUpper(), parent);
    label->setContentsMargins(10, 10, 10, 2);
    QFont font = label->font();
    font.setPointSizeF(font.pointSizeF() * 0.85);
    font.setWeight(QFont::DemiBold);
    font.setLetterSpacing(QFont::PercentageSpacing, 106);
    label->setFont(font);
    label->setStyleSheet(QString("color: %1").arg(Theme::secondaryText));
    return label;
}

}  // namespace

Sidebar::Sidebar(DocumentModel& model, QWidget* parent)
    : QWidget(parent),
      model_(model),
      column_(new QWidget(this)),
      slide_(new QPropertyAnimation(this, "shownWidth", this)) {
    QPalette dark = palette();
    dark.setColor(QPalette::Window, QColor(Theme::panel));
    dark.setColor(QPalette::Base, QColor(Theme::panel));
    setPalette(dark);
    setAutoFillBackground(true);
    column_->setPalette(dark);
    column_->setAutoFillBackground(true);

    auto* layout = new QVBoxLayout(column_);
    layout->setContentsMargins(0, 0, 0, 0);
    layout->setSpacing(4);
    scenesTitle_ = title(L("Scènes", "Scenes"), column_);
    scenes_ = new QListWidget(column_);
    scenes_->setFrameShape(QFrame::NoFrame);
    scenes_->setFocusPolicy(Qt::NoFocus);
    scenes_->setUniformItemSizes(true);
    scenes_->setHorizontalScrollBarPolicy(Qt::ScrollBarAlwaysOff);
    const QColor accent(Theme::accent);
    // The same marks as the layer rows: the chosen scene tinted, the one under the pointer lit.
    scenes_->setStyleSheet(
        QString("QListWidget::item { padding-left: 10px; border: 0px; }"
                "QListWidget::item:hover { background: rgba(255, 255, 255, 22); }"
                "QListWidget::item:selected { background: rgba(%1, %2, %3, 96); }")
            .arg(accent.red())
            .arg(accent.green())
            .arg(accent.blue()));
    layout->addWidget(scenesTitle_);
    layout->addWidget(scenes_);
    layout->addWidget(title(L("Calques", "Layers"), column_));
    layers_ = new LayersSection(model_, column_);
    layout->addWidget(layers_, 1);
    inspector_ = new ModelInspector(model_, column_);
    layout->addWidget(inspector_);

    // Clicks only: a scene is chosen by the hand, never by the list's own current row.
    connect(scenes_, &QListWidget::itemClicked, this,
            [this](QListWidgetItem* item) { model_.selectScene(scenes_->row(item)); });
    connect(&model_, &DocumentModel::skpChanged, this, &Sidebar::rebuildScenes);
    connect(&model_, &DocumentModel::selectedSceneChanged, this, &Sidebar::followScene);
    connect(&model_, &DocumentModel::showSidebarChanged, this, &Sidebar::slide);
    slide_->setDuration(slideMilliseconds);
    slide_->setEasingCurve(QEasingCurve::OutCubic);
    rebuildScenes();
    setShownWidth(model_.showSidebar() ? fullWidth : 0);
}

void Sidebar::setShownWidth(int width) {
    setFixedWidth(width);
    // The column stays laid out while shut, so that a row brought into view before it opens
    // lies where it will be seen; only the keyboard must leave it.
    QWidget* focus = QApplication::focusWidget();
    if (width == 0 && focus && column_->isAncestorOf(focus)) focus->clearFocus();
}

void Sidebar::resizeEvent(QResizeEvent* event) {
    QWidget::resizeEvent(event);
    // The column keeps its width and slides out past the left edge.
    column_->setGeometry(width() - fullWidth, 0, fullWidth, height());
}

void Sidebar::slide() {
    const int target = model_.showSidebar() ? fullWidth : 0;
    if (slide_->state() == QAbstractAnimation::Running && slide_->endValue().toInt() == target)
        return;
    slide_->stop();
    if (width() == target) return;
    slide_->setStartValue(width());
    slide_->setEndValue(target);
    slide_->start();
}

void Sidebar::rebuildScenes() {
    const QSignalBlocker quiet(scenes_);
    scenes_->clear();
    if (const SKPModel* skp = model_.skp())
        for (const Scene& scene : skp->scenes) {
            auto* item = new QListWidgetItem(QString::fromStdString(scene.name), scenes_);
            item->setSizeHint(QSize(0, kSceneRowHeight));
        }
    const int count = scenes_->count();
    scenes_->setFixedHeight(std::min(count, kScenesShown) * kSceneRowHeight + 2);
    scenes_->setVisible(count > 0);
    scenesTitle_->setVisible(count > 0);
    followScene();
}

void Sidebar::followScene() {
    const int row = model_.selectedScene().value_or(-1);
    const QSignalBlocker quiet(scenes_);
    scenes_->setCurrentRow(row < scenes_->count() ? row : -1);
}

}  // namespace vistrel::app

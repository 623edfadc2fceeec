#include "ui/sidebar/LayersSection.h"

#include <QEvent>
#include <QHBoxLayout>
#include <QLineEdit>
#include <QListView>
#include <QMouseEvent>
#include <QSignalBlocker>
#include <QToolButton>
#include <QVBoxLayout>

#include "documents/DocumentModel.h"
#include "settings/Localization.h"
#include "ui/sidebar/LayerListModel.h"
#include "ui/sidebar/LayerRowDelegate.h"
#include "ui/sidebar/SidebarIcons.h"

namespace vistrel::app {

namespace {

QString tr2(std::string_view fr, std::string_view en) {
    return QString::fromStdString(L(fr, en));
}

}  // namespace

LayersSection::LayersSection(DocumentModel& model, QWidget* parent)
    : QWidget(parent),
      model_(model),
      rows_(new LayerListModel(model, this)),
      delegate_(new LayerRowDelegate(*rows_, this)),
      filter_(new QLineEdit(this)),
      view_(new QListView(this)) {
    auto* layout = new QVBoxLayout(this);
    layout->setContentsMargins(0, 0, 0, 0);
    layout->setSpacing(6);

    auto* tools = new QHBoxLayout;
    tools->setContentsMargins(8, 0, 8, 0);
    tools->setSpacing(2);
    filter_->setPlaceholderText(tr2("Filtrer les calques", "Filter layers"));
    filter_->setClearButtonEnabled(true);
    // Typing goes to the viewport until the field is clicked.
    filter_->setFocusPolicy(Qt::ClickFocus);
    tools->addWidget(filter_, 1);
    using SidebarIcons::Symbol;
    auto addButton = [&](const char* name, Symbol symbol, const QString& tip, auto action) {
        auto* button = new QToolButton(this);
        button->setObjectName(name);
        button->setIcon(SidebarIcons::icon(symbol));
        button->setIconSize(QSize(16, 16));
        button->setToolTip(tip);
        button->setAutoRaise(true);
        connect(button, &QToolButton::clicked, this, action);
        tools->addWidget(button);
    };
    addButton("showAllLayers", Symbol::eye, tr2("Afficher tous les calques", "Show all layers"),
              [this] { model_.setAllLayers(true); });
    addButton("hideAllLayers", Symbol::eyeOff, tr2("Masquer tous les calques", "Hide all layers"),
              [this] { model_.setAllLayers(false); });
    addButton("expandAllGroups", Symbol::expandAll,
              tr2("Déplier tous les groupes", "Expand all groups"),
              [this] { model_.setAllLayerGroupsExpanded(true); });
    addButton("collapseAllGroups", Symbol::collapseAll,
              tr2("Replier tous les groupes", "Collapse all groups"),
              [this] { model_.setAllLayerGroupsExpanded(false); });
    layout->addLayout(tools);

    view_->setModel(rows_);
    view_->setItemDelegate(delegate_);
    view_->setUniformItemSizes(true);
    view_->setSelectionMode(QAbstractItemView::NoSelection);
    view_->setEditTriggers(QAbstractItemView::NoEditTriggers);
    view_->setVerticalScrollMode(QAbstractItemView::ScrollPerPixel);
    view_->setHorizontalScrollBarPolicy(Qt::ScrollBarAlwaysOff);
    view_->setFrameShape(QFrame::NoFrame);
    // The list takes no focus: focus would make its first row current, which is no choice.
    view_->setFocusPolicy(Qt::NoFocus);
    view_->setMouseTracking(true);
    view_->viewport()->setAttribute(Qt::WA_Hover);
    view_->viewport()->installEventFilter(this);
    layout->addWidget(view_, 1);

    connect(filter_, &QLineEdit::textEdited, this,
            [this](const QString& text) { model_.setLayerFilter(text.toStdString()); });
    connect(&model_, &DocumentModel::layerFilterChanged, this, &LayersSection::followFilter);
    connect(&model_, &DocumentModel::selectedLayerIndexChanged, this,
            &LayersSection::followSelection);
    connect(&model_, &DocumentModel::selectedLayerGroupIDChanged, this,
            &LayersSection::followSelection);
    connect(rows_, &QAbstractItemModel::modelReset, this, &LayersSection::followSelection);
    connect(rows_, &QAbstractItemModel::rowsInserted, this, &LayersSection::followSelection);
    connect(&model_, &DocumentModel::scrollToLayerTriggerChanged, this,
            &LayersSection::scrollToSelection);
    followFilter();
    followSelection();
}

QToolButton& LayersSection::button(const char* name) const {
    return *findChild<QToolButton*>(name);
}

void LayersSection::followFilter() {
    const QString text = QString::fromStdString(model_.layerFilter());
    if (filter_->text() == text) return;
    const QSignalBlocker quiet(filter_);
    filter_->setText(text);
}

void LayersSection::followSelection() {
    int row = -1;
    if (auto layer = model_.selectedLayerIndex()) {
        row = rows_->rowOfLayer(*layer);
    } else if (model_.selectedLayerGroupID()) {
        for (int r = 0; r < rows_->rowCount() && row < 0; ++r)
            if (rows_->isSelected(r)) row = r;
    }
    const QModelIndex index = row >= 0 ? rows_->index(row) : QModelIndex();
    if (view_->currentIndex() == index) return;
    const QSignalBlocker quiet(view_->selectionModel());
    view_->selectionModel()->setCurrentIndex(index, QItemSelectionModel::NoUpdate);
}

void LayersSection::scrollToSelection() {
    followSelection();
    const QModelIndex current = view_->currentIndex();
    if (current.isValid()) view_->scrollTo(current, QAbstractItemView::PositionAtCenter);
}

bool LayersSection::eventFilter(QObject* watched, QEvent* event) {
    if (watched == view_->viewport()) {
        if (event->type() == QEvent::MouseMove) {
            const QModelIndex index =
                view_->indexAt(static_cast<QMouseEvent*>(event)->position().toPoint());
            std::optional<int> layer;
            if (index.isValid() && rows_->row(index.row()).layer >= 0)
                layer = rows_->row(index.row()).layer;
            model_.setHoveredLayer(layer);
        } else if (event->type() == QEvent::Leave) {
            model_.setHoveredLayer(std::nullopt);
        }
    }
    return QWidget::eventFilter(watched, event);
}

}  // namespace vistrel::app

#include "ui/LayerPanel.h"

#include <QHBoxLayout>
#include <QLabel>
#include <QListWidget>
#include <QPushButton>
#include <QVBoxLayout>

#include "documents/DocumentModel.h"
#include "settings/Localization.h"

namespace vistrel::app {

LayerPanel::LayerPanel(DocumentModel& model, QWidget* parent)
    : QWidget(parent), model_(model), list_(new QListWidget(this)) {
    auto* layout = new QVBoxLayout(this);
    layout->setContentsMargins(6, 6, 6, 6);
    layout->addWidget(new QLabel(QString::fromStdString(L("Calques", "Layers")), this));
    layout->addWidget(list_, 1);
    auto* buttons = new QHBoxLayout;
    auto* showAll = new QPushButton(QString::fromStdString(L("Tout afficher", "Show All")), this);
    auto* hideAll = new QPushButton(QString::fromStdString(L("Tout masquer", "Hide All")), this);
    buttons->addWidget(showAll);
    buttons->addWidget(hideAll);
    layout->addLayout(buttons);
    setMinimumWidth(220);

    connect(showAll, &QPushButton::clicked, this, [this] { model_.setAllLayers(true); });
    connect(hideAll, &QPushButton::clicked, this, [this] { model_.setAllLayers(false); });
    connect(list_, &QListWidget::itemChanged, this, &LayerPanel::itemChanged);
    connect(list_, &QListWidget::itemDoubleClicked, this,
            [this](QListWidgetItem* item) { model_.zoomToLayer(list_->row(item), true); });
    // Clicks only: the list makes its first row current on focus, which is no choice.
    connect(list_, &QListWidget::itemClicked, this,
            [this](QListWidgetItem* item) { model_.selectLayer(list_->row(item)); });
    connect(&model_, &DocumentModel::skpChanged, this, &LayerPanel::rebuild);
    connect(&model_, &DocumentModel::layerVisibleChanged, this, &LayerPanel::updateChecks);
    rebuild();
}

void LayerPanel::rebuild() {
    updating_ = true;
    list_->clear();
    if (const SKPModel* skp = model_.skp())
        for (const Layer& layer : skp->layers) {
            QString name = QString::fromStdString(layer.name);
            if (layer.folder) name = QString::fromStdString(*layer.folder) + " / " + name;
            auto* item = new QListWidgetItem(name, list_);
            item->setFlags(item->flags() | Qt::ItemIsUserCheckable);
        }
    updating_ = false;
    updateChecks();
}

void LayerPanel::updateChecks() {
    updating_ = true;
    const auto& visible = model_.layerVisible();
    for (int i = 0; i < list_->count(); ++i) {
        const bool on = size_t(i) < visible.size() && visible[size_t(i)];
        list_->item(i)->setCheckState(on ? Qt::Checked : Qt::Unchecked);
    }
    updating_ = false;
}

void LayerPanel::itemChanged(QListWidgetItem* item) {
    if (updating_) return;
    const int row = list_->row(item);
    const auto& visible = model_.layerVisible();
    const bool wanted = item->checkState() == Qt::Checked;
    if (row >= 0 && size_t(row) < visible.size() && visible[size_t(row)] != wanted)
        model_.toggleLayer(row);
}

}  // namespace vistrel::app

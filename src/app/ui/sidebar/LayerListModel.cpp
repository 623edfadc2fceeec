#include "ui/sidebar/LayerListModel.h"

#include <QFontMetrics>

#include <algorithm>

#include "documents/DocumentModel.h"

namespace vistrel::app {

LayerListModel::LayerListModel(DocumentModel& model, QObject* parent)
    : QAbstractListModel(parent), model_(model) {
    connect(&model_, &DocumentModel::skpChanged, this, &LayerListModel::rebuildTexts);
    connect(&model_, &DocumentModel::layerFilterChanged, this, &LayerListModel::rebuildRows);
    connect(&model_, &DocumentModel::expandedLayerGroupsChanged, this,
            &LayerListModel::rebuildRows);
    connect(&model_, &DocumentModel::layerVisibleChanged, this, [this] {
        countVisible();
        repaintAll();
    });
    connect(&model_, &DocumentModel::selectedLayerGroupIDChanged, this, [this] {
        selectedGroup_ = selectedGroup();
        repaintAll();
    });
    connect(&model_, &DocumentModel::selectedLayerIndexChanged, this, &LayerListModel::repaintAll);
    connect(&model_, &DocumentModel::hoveredLayerIndexChanged, this, &LayerListModel::repaintAll);
    rebuildTexts();
}

const std::vector<LayerGroup>& LayerListModel::groups() const {
    static const std::vector<LayerGroup> none;
    const SKPModel* skp = model_.skp();
    return skp ? skp->layerGroups() : none;
}

const LayerGroup& LayerListModel::group(int g) const {
    return groups()[size_t(g)];
}

void LayerListModel::rebuildTexts() {
    beginResetModel();
    const SKPModel* skp = model_.skp();
    const auto& all = groups();
    const size_t layers = skp ? skp->layers.size() : 0;
    groupNames_.assign(all.size(), QString());
    groupCounts_.assign(all.size(), QString());
    layerNames_.assign(layers, QString());
    layerLabels_.assign(layers, QString());
    for (size_t i = 0; i < layers; ++i)
        layerNames_[i] = QString::fromStdString(skp->layers[i].name);
    for (size_t g = 0; g < all.size(); ++g) {
        const LayerGroup& group = all[g];
        groupNames_[g] = QString::fromStdString(group.name);
        if (!group.isSingle()) groupCounts_[g] = QString::number(group.layerIndices.size());
        for (int i : group.layerIndices) {
            if (i < 0 || size_t(i) >= layers) continue;
            auto label = group.memberLabels.find(i);
            layerLabels_[size_t(i)] = group.isSingle() || label == group.memberLabels.end()
                                          ? layerNames_[size_t(i)]
                                          : QString::fromStdString(label->second);
        }
    }
    groupWidths_.assign(all.size(), -1);
    labelWidths_.assign(layers, -1);
    rowOfGroup_.assign(all.size(), -1);
    rowOfLayer_.assign(layers, -1);
    setRows(visibleRows());
    countVisible();
    selectedGroup_ = selectedGroup();
    endResetModel();
}

std::vector<LayerListModel::Row> LayerListModel::visibleRows() {
    const auto& all = groups();
    expanded_.assign(all.size(), false);
    const auto& open = model_.expandedLayerGroups();
    const QString filter = QString::fromStdString(model_.layerFilter()).trimmed();
    auto matches = [&](const QString& name) {
        return filter.isEmpty() || name.contains(filter, Qt::CaseInsensitive);
    };
    std::vector<Row> rows;
    rows.reserve(rows_.size());
    std::vector<int> members;
    for (size_t g = 0; g < all.size(); ++g) {
        const LayerGroup& group = all[g];
        if (group.isSingle()) {
            const int layer = group.layerIndices[0];
            if (size_t(layer) < layerNames_.size() && matches(layerNames_[size_t(layer)]))
                rows.push_back({Kind::single, int(g), layer});
            continue;
        }
        const bool whole = matches(groupNames_[g]);
        members.clear();
        for (int i : group.layerIndices)
            if (i >= 0 && size_t(i) < layerNames_.size() &&
                (whole || matches(layerNames_[size_t(i)])))
                members.push_back(i);
        if (members.empty() && !(whole && group.layerIndices.empty())) continue;
        expanded_[g] = open.count(group.id) > 0;
        rows.push_back({Kind::group, int(g), -1});
        if (expanded_[g])
            for (int i : members) rows.push_back({Kind::member, int(g), i});
    }
    return rows;
}

void LayerListModel::setRows(std::vector<Row> rows) {
    rows_ = std::move(rows);
    std::fill(rowOfLayer_.begin(), rowOfLayer_.end(), -1);
    std::fill(rowOfGroup_.begin(), rowOfGroup_.end(), -1);
    for (size_t r = 0; r < rows_.size(); ++r) {
        const Row& row = rows_[r];
        if (row.kind == Kind::group)
            rowOfGroup_[size_t(row.group)] = int(r);
        else
            rowOfLayer_[size_t(row.layer)] = int(r);
    }
}

void LayerListModel::rebuildRows() {
    std::vector<Row> rows = visibleRows();
    // A group opening or closing is one block in or out; the view keeps its place around it.
    size_t head = 0;
    while (head < rows.size() && head < rows_.size() && rows[head] == rows_[head]) ++head;
    size_t tail = 0;
    while (tail < rows.size() - head && tail < rows_.size() - head &&
           rows[rows.size() - 1 - tail] == rows_[rows_.size() - 1 - tail])
        ++tail;
    if (rows.size() == rows_.size() && head == rows.size()) {
        repaintAll();  // the chevrons may have turned without a row to show
        return;
    }
    if (head + tail == rows_.size()) {
        beginInsertRows({}, int(head), int(rows.size() - tail) - 1);
        setRows(std::move(rows));
        endInsertRows();
    } else if (head + tail == rows.size()) {
        beginRemoveRows({}, int(head), int(rows_.size() - tail) - 1);
        setRows(std::move(rows));
        endRemoveRows();
    } else {
        beginResetModel();
        setRows(std::move(rows));
        endResetModel();
    }
    repaintAll();
}

void LayerListModel::countVisible() {
    const auto& all = groups();
    const auto& visible = model_.layerVisible();
    shownMembers_.assign(all.size(), 0);
    for (size_t g = 0; g < all.size(); ++g)
        for (int i : all[g].layerIndices)
            if (i >= 0 && size_t(i) < visible.size() && visible[size_t(i)]) ++shownMembers_[g];
}

int LayerListModel::selectedGroup() const {
    if (const auto& id = model_.selectedLayerGroupID()) {
        const auto& all = groups();
        for (size_t g = 0; g < all.size(); ++g)
            if (all[g].id == *id) return int(g);
    }
    return -1;
}

void LayerListModel::repaintAll() {
    if (!rows_.empty())
        emit dataChanged(index(0), index(int(rows_.size()) - 1),
                         {Qt::CheckStateRole, Qt::BackgroundRole});
}

int LayerListModel::rowCount(const QModelIndex& parent) const {
    return parent.isValid() ? 0 : int(rows_.size());
}

QVariant LayerListModel::data(const QModelIndex& index, int role) const {
    if (!index.isValid() || index.row() >= rowCount()) return {};
    const int r = index.row();
    switch (role) {
        case Qt::DisplayRole:
            return text(r);
        case Qt::ToolTipRole: {
            const Row& row = rows_[size_t(r)];
            return row.kind == Kind::group ? groupNames_[size_t(row.group)]
                                           : layerNames_[size_t(row.layer)];
        }
        case Qt::CheckStateRole:
            switch (visibility(r)) {
                case Visibility::shown:
                    return Qt::Checked;
                case Visibility::hidden:
                    return Qt::Unchecked;
                case Visibility::mixed:
                    return Qt::PartiallyChecked;
            }
    }
    return {};
}

const QString& LayerListModel::text(int r) const {
    const Row& row = rows_[size_t(r)];
    return row.kind == Kind::group ? groupNames_[size_t(row.group)]
                                   : layerLabels_[size_t(row.layer)];
}

int LayerListModel::textWidth(int r, const QFontMetrics& metrics) const {
    if (metrics.height() != measuredHeight_) {
        std::fill(groupWidths_.begin(), groupWidths_.end(), -1);
        std::fill(labelWidths_.begin(), labelWidths_.end(), -1);
        measuredHeight_ = metrics.height();
    }
    const Row& row = rows_[size_t(r)];
    int& width =
        row.kind == Kind::group ? groupWidths_[size_t(row.group)] : labelWidths_[size_t(row.layer)];
    if (width < 0) width = metrics.horizontalAdvance(text(r));
    return width;
}

const QString& LayerListModel::countText(int r) const {
    const Row& row = rows_[size_t(r)];
    return row.kind == Kind::group ? groupCounts_[size_t(row.group)] : empty_;
}

LayerListModel::Visibility LayerListModel::visibility(int r) const {
    const Row& row = rows_[size_t(r)];
    if (row.kind != Kind::group) {
        const auto& visible = model_.layerVisible();
        const bool on = size_t(row.layer) < visible.size() && visible[size_t(row.layer)];
        return on ? Visibility::shown : Visibility::hidden;
    }
    const int shown = shownMembers_[size_t(row.group)];
    if (shown == 0) return Visibility::hidden;
    return size_t(shown) == group(row.group).layerIndices.size() ? Visibility::shown
                                                                 : Visibility::mixed;
}

bool LayerListModel::isExpanded(int g) const {
    return size_t(g) < expanded_.size() && expanded_[size_t(g)];
}

bool LayerListModel::isSelected(int r) const {
    const Row& row = rows_[size_t(r)];
    if (row.kind == Kind::group) return row.group == selectedGroup_;
    return model_.selectedLayerIndex() == row.layer;
}

bool LayerListModel::isHovered(int r) const {
    const Row& row = rows_[size_t(r)];
    return row.kind != Kind::group && model_.hoveredLayerIndex() == row.layer;
}

int LayerListModel::rowOfLayer(int layer) const {
    return layer >= 0 && size_t(layer) < rowOfLayer_.size() ? rowOfLayer_[size_t(layer)] : -1;
}

int LayerListModel::rowOfGroup(int g) const {
    return g >= 0 && size_t(g) < rowOfGroup_.size() ? rowOfGroup_[size_t(g)] : -1;
}

}  // namespace vistrel::app

// The sidebar's layer rows as one flat list: each multi-layer group followed by its members
// while it is expanded, single-layer groups as plain rows, all narrowed by the layer filter.
// It reads the DocumentModel and follows its signals; it keeps no state of its own.
//
// Rows change by insertion or removal when a group opens or closes, by a reset otherwise.
// Visibility, selection and hover changes repaint every row through dataChanged. The shown
// strings are made once per model, so that reading and painting rows allocates nothing.
#pragma once

#include <QAbstractListModel>
#include <QString>

#include <vector>

#include "model/SKPModel.h"

class QFontMetrics;

namespace vistrel::app {

class DocumentModel;

class LayerListModel : public QAbstractListModel {
    Q_OBJECT

  public:
    enum class Kind { group, single, member };
    enum class Visibility { shown, hidden, mixed };
    struct Row {
        Kind kind = Kind::single;
        int group = 0;   // index into skp()->layerGroups()
        int layer = -1;  // -1 on a group row
        friend bool operator==(const Row&, const Row&) = default;
    };

    LayerListModel(DocumentModel& model, QObject* parent);

    DocumentModel& document() const { return model_; }

    int rowCount(const QModelIndex& parent = {}) const override;
    // Display: the shown name; CheckState: the row's visibility; ToolTip: the full name.
    QVariant data(const QModelIndex& index, int role) const override;

    // `r` must be below rowCount().
    const Row& row(int r) const { return rows_[size_t(r)]; }
    const LayerGroup& group(int g) const;
    const QString& text(int r) const;
    // Width of text(r) in `metrics`, measured once per model and font height.
    int textWidth(int r, const QFontMetrics& metrics) const;
    // The member count of a group row, empty on layer rows.
    const QString& countText(int r) const;
    Visibility visibility(int r) const;
    bool isExpanded(int g) const;
    bool isSelected(int r) const;
    // Whether the row's layer is the one hovered, in the viewport or here.
    bool isHovered(int r) const;
    // The row of a layer (its own row or its member row) or of a group; -1 when not shown.
    int rowOfLayer(int layer) const;
    int rowOfGroup(int g) const;

  private:
    void rebuildTexts();
    void rebuildRows();
    std::vector<Row> visibleRows();  // also notes which groups are open
    void setRows(std::vector<Row> rows);
    void countVisible();
    int selectedGroup() const;
    void repaintAll();
    const std::vector<LayerGroup>& groups() const;

    DocumentModel& model_;
    std::vector<Row> rows_;
    std::vector<int> rowOfLayer_, rowOfGroup_;
    std::vector<QString> groupNames_, groupCounts_, layerNames_, layerLabels_;
    mutable std::vector<int> groupWidths_, labelWidths_;
    mutable int measuredHeight_ = -1;
    std::vector<bool> expanded_;
    std::vector<int> shownMembers_;
    int selectedGroup_ = -1;
    QString empty_;
};

}  // namespace vistrel::app

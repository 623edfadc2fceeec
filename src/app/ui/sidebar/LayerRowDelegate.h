// Paints a row of LayerListModel and turns clicks on it into DocumentModel commands: the
// chevron opens or closes a group, the eye shows or hides, solo and zoom (drawn while the
// pointer is over the row) call their commands, a click elsewhere selects and a double click
// frames; a double click on a control is a second click on it. Icons are rendered once per device
// pixel ratio; painting a row allocates nothing beyond what QPainter does for text.
#pragma once

#include <QPixmap>
#include <QStyledItemDelegate>

#include <array>

namespace vistrel::app {

class LayerListModel;

class LayerRowDelegate : public QStyledItemDelegate {
    Q_OBJECT

  public:
    static constexpr int rowHeight = 24;

    // Where each control of a row lies inside its rectangle; `chevron` is empty on layer rows.
    struct Parts {
        QRect chevron, eye, name, solo, zoom;
    };
    static Parts parts(const QRect& rect, bool isMember, bool isGroup);

    LayerRowDelegate(const LayerListModel& rows, QObject* parent);

    void paint(QPainter* painter, const QStyleOptionViewItem& option,
               const QModelIndex& index) const override;
    QSize sizeHint(const QStyleOptionViewItem& option, const QModelIndex& index) const override;
    bool editorEvent(QEvent* event, QAbstractItemModel* model, const QStyleOptionViewItem& option,
                     const QModelIndex& index) override;

  private:
    enum Picture { eye, eyeHidden, eyeMixed, solo, zoom, chevronRight, chevronDown, pictureCount };
    const QPixmap& picture(Picture which, qreal ratio) const;

    const LayerListModel& rows_;
    mutable std::array<QPixmap, pictureCount> pictures_;
    mutable qreal ratio_ = 0;
    mutable QFont font_, boldFont_;
};

}  // namespace vistrel::app

#include "ui/sidebar/LayerRowDelegate.h"

#include <QMouseEvent>
#include <QPainter>

#include "documents/DocumentModel.h"
#include "ui/Theme.h"
#include "ui/sidebar/LayerListModel.h"
#include "ui/sidebar/SidebarIcons.h"

namespace vistrel::app {

namespace {

constexpr int kIcon = 16, kPad = 6, kIndent = 18, kGap = 4;

}  // namespace

LayerRowDelegate::Parts LayerRowDelegate::parts(const QRect& rect, bool isMember, bool isGroup) {
    const int top = rect.center().y() - kIcon / 2 + 1;
    const int left = rect.left() + kPad + (isMember ? kIndent : 0);
    Parts p;
    if (isGroup) p.chevron = QRect(left, top, kIcon, kIcon);
    p.eye = QRect(left + kIcon + kGap, top, kIcon, kIcon);
    p.zoom = QRect(rect.right() - kPad - kIcon + 1, top, kIcon, kIcon);
    p.solo = p.zoom.translated(-kIcon - kGap, 0);
    p.name = QRect(QPoint(p.eye.right() + 1 + 2 * kGap, rect.top()),
                   QPoint(rect.right() - kPad, rect.bottom()));
    return p;
}

LayerRowDelegate::LayerRowDelegate(const LayerListModel& rows, QObject* parent)
    : QStyledItemDelegate(parent), rows_(rows) {}

const QPixmap& LayerRowDelegate::picture(Picture which, qreal ratio) const {
    if (ratio != ratio_) {
        using SidebarIcons::Symbol;
        struct Source {
            Symbol symbol;
            QIcon::Mode mode;
        };
        const std::array<Source, pictureCount> sources{{
            {Symbol::eye, QIcon::Normal},
            {Symbol::eyeOff, QIcon::Disabled},
            {Symbol::eyeMixed, QIcon::Normal},
            {Symbol::solo, QIcon::Normal},
            {Symbol::zoom, QIcon::Normal},
            {Symbol::chevronRight, QIcon::Disabled},
            {Symbol::chevronDown, QIcon::Disabled},
        }};
        for (size_t i = 0; i < sources.size(); ++i)
            pictures_[i] = SidebarIcons::icon(sources[i].symbol)
                               .pixmap(QSize(kIcon, kIcon), ratio, sources[i].mode);
        ratio_ = ratio;
    }
    return pictures_[size_t(which)];
}

QSize LayerRowDelegate::sizeHint(const QStyleOptionViewItem&, const QModelIndex&) const {
    return QSize(200, rowHeight);
}

void LayerRowDelegate::paint(QPainter* painter, const QStyleOptionViewItem& option,
                             const QModelIndex& index) const {
    const int r = index.row();
    if (r < 0 || r >= rows_.rowCount()) return;
    const LayerListModel::Row& row = rows_.row(r);
    const bool isGroup = row.kind == LayerListModel::Kind::group;
    const bool pointer = option.state & QStyle::State_MouseOver;
    const QRect rect = option.rect;

    static const QColor selected = [] {
        QColor c(Theme::accent);
        c.setAlpha(96);
        return c;
    }();
    static const QColor hovered(255, 255, 255, 22), text(Theme::text), dim(Theme::secondaryText);
    if (rows_.isSelected(r))
        painter->fillRect(rect, selected);
    else if (rows_.isHovered(r) || pointer)
        painter->fillRect(rect, hovered);

    const qreal ratio = painter->device()->devicePixelRatioF();
    const Parts p = parts(rect, row.kind == LayerListModel::Kind::member, isGroup);
    if (isGroup)
        painter->drawPixmap(
            p.chevron.topLeft(),
            picture(rows_.isExpanded(row.group) ? chevronDown : chevronRight, ratio));
    const LayerListModel::Visibility visibility = rows_.visibility(r);
    const Picture eyePicture = visibility == LayerListModel::Visibility::shown   ? eye
                               : visibility == LayerListModel::Visibility::mixed ? eyeMixed
                                                                                 : eyeHidden;
    painter->drawPixmap(p.eye.topLeft(), picture(eyePicture, ratio));

    QRect name = p.name;
    if (pointer) {
        painter->drawPixmap(p.solo.topLeft(), picture(solo, ratio));
        painter->drawPixmap(p.zoom.topLeft(), picture(zoom, ratio));
        name.setRight(p.solo.left() - 2 * kGap);
    }
    if (option.font != font_) {
        font_ = option.font;
        boldFont_ = font_;
        boldFont_.setWeight(QFont::DemiBold);
    }
    const QFontMetrics metrics(isGroup ? boldFont_ : font_);
    // Drawn at a baseline, not in a box: the box form lays text out as a paragraph each time.
    const int baseline = rect.center().y() + 1 + (metrics.ascent() - metrics.descent()) / 2;
    const QString& count = rows_.countText(r);
    if (!count.isEmpty()) {
        // Digits are as wide as each other in the interface fonts; no layout for the count.
        const int countWidth = int(count.size()) * metrics.horizontalAdvance(QLatin1Char('0'));
        painter->setPen(dim);
        painter->setFont(font_);
        painter->drawText(QPoint(name.right() + 1 - countWidth, baseline), count);
        name.setRight(name.right() - countWidth - 2 * kGap);
    }
    painter->setPen(visibility == LayerListModel::Visibility::hidden ? dim : text);
    painter->setFont(isGroup ? boldFont_ : font_);
    const QString& label = rows_.text(r);
    if (rows_.textWidth(r, metrics) <= name.width())
        painter->drawText(QPoint(name.left(), baseline), label);
    else  // only names too long for the column pay for eliding
        painter->drawText(QPoint(name.left(), baseline),
                          metrics.elidedText(label, Qt::ElideMiddle, name.width()));
}

bool LayerRowDelegate::editorEvent(QEvent* event, QAbstractItemModel*,
                                   const QStyleOptionViewItem& option, const QModelIndex& index) {
    // A release ends a click on the row it began on; the second press of a double click comes
    // as a double click, and the view sends no release after it.
    const auto type = event->type();
    if (type != QEvent::MouseButtonRelease && type != QEvent::MouseButtonDblClick) return false;
    const auto* mouse = static_cast<QMouseEvent*>(event);
    if (mouse->button() != Qt::LeftButton || index.row() >= rows_.rowCount()) return false;

    const LayerListModel::Row row = rows_.row(index.row());
    const bool isGroup = row.kind == LayerListModel::Kind::group;
    const Parts p = parts(option.rect, row.kind == LayerListModel::Kind::member, isGroup);
    const QPoint at = mouse->position().toPoint();
    DocumentModel& model = rows_.document();
    // Copied: a command may rebuild the rows while it runs.
    const LayerGroup group = isGroup ? rows_.group(row.group) : LayerGroup{};

    if (isGroup && p.chevron.contains(at)) {
        model.toggleLayerGroupExpanded(group.id);
    } else if (p.eye.contains(at)) {
        if (isGroup)
            model.setLayerGroup(group,
                                rows_.visibility(index.row()) != LayerListModel::Visibility::shown);
        else
            model.toggleLayer(row.layer);
    } else if (p.solo.contains(at)) {
        isGroup ? model.soloLayerGroup(group) : model.soloLayer(row.layer);
    } else if (p.zoom.contains(at) || type == QEvent::MouseButtonDblClick) {
        isGroup ? model.zoomToLayerGroup(group, true) : model.zoomToLayer(row.layer, true);
    } else {
        isGroup ? model.selectLayerGroup(group) : model.selectLayer(row.layer);
    }
    return true;
}

}  // namespace vistrel::app

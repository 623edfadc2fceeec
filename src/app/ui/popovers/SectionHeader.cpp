#include "ui/popovers/SectionHeader.h"

#include "ui/Theme.h"

namespace vistrel::app {

SectionHeader::SectionHeader(const QString& title, QWidget* parent)
    : QLabel(title.toUpper(), parent) {
    QFont f = font();
    f.setPointSizeF(f.pointSizeF() * 0.85);
    f.setBold(true);
    f.setLetterSpacing(QFont::PercentageSpacing, 106);
    setFont(f);
    setStyleSheet(QStringLiteral("color: %1; padding-top: 6px;").arg(Theme::secondaryText));
}

}  // namespace vistrel::app

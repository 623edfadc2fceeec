#include "ui/windows/PanelStyle.h"

#include <QFrame>
#include <QLabel>
#include <QPushButton>

#include "ui/Theme.h"

namespace vistrel::app::PanelStyle {

QLabel* heading(const std::string& text, int pointSize, bool bold) {
    auto* label = new QLabel(QString::fromStdString(text));
    QFont font = label->font();
    font.setPointSize(pointSize);
    font.setBold(bold);
    label->setFont(font);
    label->setStyleSheet(QString("color: %1").arg(Theme::text));
    return label;
}

QLabel* secondary(const std::string& text) {
    auto* label = new QLabel(QString::fromStdString(text));
    label->setWordWrap(true);
    label->setStyleSheet(QString("color: %1").arg(Theme::secondaryText));
    return label;
}

QPushButton* button(const std::string& text) {
    auto* button = new QPushButton(QString::fromStdString(text));
    button->setAutoDefault(false);
    return button;
}

QWidget* separator() {
    auto* line = new QFrame;
    line->setFixedHeight(1);
    line->setStyleSheet(QString("background: %1").arg(Theme::separator));
    return line;
}

}  // namespace vistrel::app::PanelStyle

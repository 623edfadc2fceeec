#include "ui/Theme.h"

#include <QApplication>
#include <QPalette>
#include <QStyleFactory>

namespace vistrel::app::Theme {

void apply(QApplication& application) {
    application.setStyle(QStyleFactory::create("Fusion"));
    QPalette p;
    const QColor window(background), base(panel), fore(text), dim(secondaryText);
    p.setColor(QPalette::Window, window);
    p.setColor(QPalette::WindowText, fore);
    p.setColor(QPalette::Base, base);
    p.setColor(QPalette::AlternateBase, window);
    p.setColor(QPalette::ToolTipBase, base);
    p.setColor(QPalette::ToolTipText, fore);
    p.setColor(QPalette::Text, fore);
    p.setColor(QPalette::Button, base);
    p.setColor(QPalette::ButtonText, fore);
    p.setColor(QPalette::Highlight, QColor(accent));
    p.setColor(QPalette::HighlightedText, Qt::white);
    p.setColor(QPalette::PlaceholderText, dim);
    for (auto role : {QPalette::WindowText, QPalette::Text, QPalette::ButtonText})
        p.setColor(QPalette::Disabled, role, dim);
    application.setPalette(p);
}

}  // namespace vistrel::app::Theme

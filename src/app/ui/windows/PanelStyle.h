// The pieces the auxiliary windows are made of, in the main window's palette.
#pragma once

#include <string>

class QLabel;
class QPushButton;
class QWidget;

namespace vistrel::app::PanelStyle {

// Text in the given point size and weight, in the text colour.
QLabel* heading(const std::string& text, int pointSize, bool bold = true);
// Wrapped text in the secondary colour.
QLabel* secondary(const std::string& text);
// A plain text button.
QPushButton* button(const std::string& text);
// A thin horizontal line.
QWidget* separator();

}  // namespace vistrel::app::PanelStyle

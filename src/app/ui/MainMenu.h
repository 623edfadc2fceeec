// The menus of a document window, in the user's language at the time they are built: File,
// Edit, View and Camera with their keyboard shortcuts (Ctrl stands for the Command key, Alt
// for Option). Each item runs its SKPDocument command; enabling, check marks and hidden items
// follow the document's rules and are refreshed whenever the document changes.
#pragma once

#include <string>
#include <vector>

#include "vocabulary/StandardView.h"

class QMainWindow;

namespace vistrel::app {

class SKPDocument;

namespace MainMenu {

struct CameraView {
    viewport::StandardView view;
    std::string french, english;
};

// The seven standard views; an item's tag is its position, its key Ctrl and tag + 1.
const std::vector<CameraView>& cameraViews();

// Builds the window's menu bar for its document and keeps the items' states current.
void build(QMainWindow& window, SKPDocument& document);

}  // namespace MainMenu
}  // namespace vistrel::app

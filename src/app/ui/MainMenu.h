// The menus of a document window, in the user's language at the time they are built: File,
// Edit, View and Camera with their keyboard shortcuts (Ctrl stands for the Command key, Alt
// for Option). Each item is one of the window's DocumentActions.
#pragma once

#include <string>
#include <vector>

#include "vocabulary/StandardView.h"

class QMainWindow;

namespace vistrel::app {

class DocumentActions;

namespace MainMenu {

struct CameraView {
    viewport::StandardView view;
    std::string french, english;
};

// The seven standard views; an item's tag is its position, its key Ctrl and tag + 1.
const std::vector<CameraView>& cameraViews();

// Builds the window's menu bar from actions of its document.
void build(QMainWindow& window, DocumentActions& actions);

}  // namespace MainMenu
}  // namespace vistrel::app

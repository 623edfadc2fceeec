#include "ui/windows/ShortcutsWindowController.h"

#include "settings/Localization.h"
#include "ui/windows/ShortcutsView.h"

namespace vistrel::app {

ShortcutsWindowController::ShortcutsWindowController()
    : HostedWindowController([] { return L("Raccourcis clavier", "Keyboard Shortcuts"); }) {}

ShortcutsWindowController& ShortcutsWindowController::shared() {
    static ShortcutsWindowController controller;
    return controller;
}

void ShortcutsWindowController::show() {
    auto* view = new ShortcutsView();
    view->onClose = closer();
    HostedWindowController::show(view);
}

}  // namespace vistrel::app

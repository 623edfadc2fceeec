#include "ui/windows/SettingsWindowController.h"

#include "settings/Localization.h"
#include "ui/windows/SettingsView.h"

namespace vistrel::app {

SettingsWindowController::SettingsWindowController()
    : HostedWindowController([] { return L("Réglages", "Settings"); }) {}

SettingsWindowController& SettingsWindowController::shared() {
    static SettingsWindowController controller;
    return controller;
}

void SettingsWindowController::show() {
    auto* view = new SettingsView();
    view->onClose = closer();
    HostedWindowController::show(view);
}

}  // namespace vistrel::app

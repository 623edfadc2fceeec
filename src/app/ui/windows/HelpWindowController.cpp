#include "ui/windows/HelpWindowController.h"

#include "settings/Localization.h"
#include "ui/windows/HelpView.h"

namespace vistrel::app {

HelpWindowController::HelpWindowController()
    : HostedWindowController([] { return L("Aide Vistrel", "Vistrel Help"); }) {}

HelpWindowController& HelpWindowController::shared() {
    static HelpWindowController controller;
    return controller;
}

void HelpWindowController::show() {
    auto* view = new HelpView();
    view->onClose = closer();
    HostedWindowController::show(view);
}

}  // namespace vistrel::app

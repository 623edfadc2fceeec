#include "ui/windows/AboutWindowController.h"

#include "settings/Localization.h"
#include "sketchup/SketchUpAPI.h"
#include "ui/windows/AboutView.h"

namespace vistrel::app {

AboutWindowController::AboutWindowController()
    : HostedWindowController([] { return L("À propos de Vistrel", "About Vistrel"); }) {}

AboutWindowController& AboutWindowController::shared() {
    static AboutWindowController controller;
    return controller;
}

void AboutWindowController::show() {
    auto* view = new AboutView(SketchUpAPI::locate());
    view->onClose = closer();
    HostedWindowController::show(view);
}

}  // namespace vistrel::app

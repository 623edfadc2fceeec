#include "ui/windows/UpdateWindowController.h"

#include "settings/Localization.h"
#include "ui/windows/UpdateView.h"

namespace vistrel::app {

UpdateWindowController::UpdateWindowController()
    : HostedWindowController([] { return L("Mise à jour de Vistrel", "Vistrel Update"); }) {}

UpdateWindowController& UpdateWindowController::shared() {
    static UpdateWindowController controller;
    return controller;
}

void UpdateWindowController::show(Updater& updater) {
    auto* view = new UpdateView(updater);
    view->onClose = closer();
    HostedWindowController::show(view);
}

}  // namespace vistrel::app

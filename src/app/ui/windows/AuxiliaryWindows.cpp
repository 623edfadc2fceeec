#include "ui/windows/AuxiliaryWindows.h"

#include "ui/windows/AboutWindowController.h"
#include "ui/windows/HelpWindowController.h"
#include "ui/windows/SettingsWindowController.h"
#include "ui/windows/ShortcutsWindowController.h"
#include "ui/windows/UpdateWindowController.h"
#include "update/Updater.h"

namespace vistrel::app::AuxiliaryWindows {

void showAbout() {
    AboutWindowController::shared().show();
}

void showSettings() {
    SettingsWindowController::shared().show();
}

void showHelp() {
    HelpWindowController::shared().show();
}

void showShortcuts() {
    ShortcutsWindowController::shared().show();
}

void checkForUpdates() {
    Updater* updater = Updater::shared();
    if (!updater) return;
    updater->checkForUpdates(false);
    UpdateWindowController::shared().show(*updater);
}

}  // namespace vistrel::app::AuxiliaryWindows

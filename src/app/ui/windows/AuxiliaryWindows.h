// What the application menu, the status bar and the About window ask of the program as a whole:
// each shows the one shared window of its kind.
#pragma once

namespace vistrel::app::AuxiliaryWindows {

void showAbout();
void showSettings();
void showHelp();
void showShortcuts();
// With the program's updater: a check the user sees, then its window. Without one (headless
// modes), nothing.
void checkForUpdates();

}  // namespace vistrel::app::AuxiliaryWindows

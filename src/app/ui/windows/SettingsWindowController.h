// The settings, read again from the preferences at each show.
#pragma once

#include "ui/windows/HostedWindowController.h"

namespace vistrel::app {

class SettingsWindowController : public HostedWindowController {
  public:
    static SettingsWindowController& shared();
    void show();

  private:
    SettingsWindowController();
};

}  // namespace vistrel::app

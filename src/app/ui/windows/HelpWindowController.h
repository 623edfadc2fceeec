// The user guide, on its first section at each show.
#pragma once

#include "ui/windows/HostedWindowController.h"

namespace vistrel::app {

class HelpWindowController : public HostedWindowController {
  public:
    static HelpWindowController& shared();
    void show();

  private:
    HelpWindowController();
};

}  // namespace vistrel::app

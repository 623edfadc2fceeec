// The update window, following one updater.
#pragma once

#include "ui/windows/HostedWindowController.h"

namespace vistrel::app {

class Updater;
class UpdateWindowController : public HostedWindowController {
  public:
    static UpdateWindowController& shared();
    void show(Updater& updater);

  private:
    UpdateWindowController();
};

}  // namespace vistrel::app

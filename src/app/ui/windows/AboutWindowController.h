// The About window.
#pragma once

#include "ui/windows/HostedWindowController.h"

namespace vistrel::app {

class AboutWindowController : public HostedWindowController {
  public:
    static AboutWindowController& shared();
    void show();

  private:
    AboutWindowController();
};

}  // namespace vistrel::app

// The keyboard card.
#pragma once

#include "ui/windows/HostedWindowController.h"

namespace vistrel::app {

class ShortcutsWindowController : public HostedWindowController {
  public:
    static ShortcutsWindowController& shared();
    void show();

  private:
    ShortcutsWindowController();
};

}  // namespace vistrel::app

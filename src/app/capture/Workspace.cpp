#include "capture/Workspace.h"

#include "platform/DesktopWorkspace.h"

namespace vistrel::app {

namespace {

Workspace* replacement = nullptr;

}  // namespace

Workspace& Workspace::current() {
    if (replacement) return *replacement;
    static DesktopWorkspace desktop;
    return desktop;
}

void Workspace::setCurrent(Workspace* workspace) {
    replacement = workspace;
}

}  // namespace vistrel::app

// The Linux desktop behind Workspace: Qt's clipboard and file dialog, a message box, the
// freedesktop file manager over D-Bus, and `.desktop` entries for the applications of a file.
// Without a GUI application (headless modes) the clipboard and panel do nothing and errors go
// to stderr.
#pragma once

#include <QString>

#include "capture/Workspace.h"

namespace vistrel::app {

class DesktopWorkspace final : public Workspace {
  public:
    void copyPNG(const std::vector<std::uint8_t>& png) override;
    std::optional<std::filesystem::path> runSavePanel(const SavePanel& panel) override;
    void presentError(const std::string& message) override;
    std::vector<Application> applicationsOpening(const std::filesystem::path& file) override;
    void open(const std::filesystem::path& file, const std::filesystem::path& application) override;
    void reveal(const std::filesystem::path& file) override;

  private:
    QString lastFolder_;  // where the last save panel ended, for the next one
};

}  // namespace vistrel::app

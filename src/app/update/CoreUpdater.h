// The program's updater in normal mode: the core's VistrelUpdater, with its results brought to
// the Qt event loop and its state published to the update window.
#pragma once

#include <memory>

#include "update/Updater.h"
#include "update/VistrelUpdater.h"

namespace vistrel::app {

class CoreUpdater : public Updater {
    Q_OBJECT

  public:
    // Starts the launch check when a day has passed since the last one and the setting allows.
    explicit CoreUpdater(QObject* parent = nullptr);

    std::string currentVersion() const override;
    void checkForUpdates(bool silent) override;
    void downloadAndInstall(const ReleaseInfo& release) override;
    std::optional<std::string> systemManagedNote() const override;

  private:
    void publish();

    std::unique_ptr<VistrelUpdater> core_;
};

}  // namespace vistrel::app

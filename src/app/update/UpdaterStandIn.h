// The updater until release checks exist: no check has run, so its state stays idle, and
// asking for one or for an install does nothing.
#pragma once

#include "update/Updater.h"

namespace vistrel::app {

class UpdaterStandIn : public Updater {
    Q_OBJECT

  public:
    using Updater::Updater;

    std::string currentVersion() const override;
    void checkForUpdates(bool) override {}
    void downloadAndInstall(const ReleaseInfo&) override {}
};

}  // namespace vistrel::app

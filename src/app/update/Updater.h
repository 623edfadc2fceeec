// What the update window and the settings need of the program's updater: its published state,
// the running version, the launch-check setting, and the two actions. Main thread only.
#pragma once

#include <QObject>

#include <optional>
#include <string>

#include "update/VistrelUpdater.h"

namespace vistrel::app {

class Updater : public QObject {
    Q_OBJECT

  public:
    using ReleaseInfo = vistrel::ReleaseInfo;
    using Idle = VistrelUpdater::Idle;
    using Checking = VistrelUpdater::Checking;
    using UpToDate = VistrelUpdater::UpToDate;
    using UpdateAvailable = VistrelUpdater::UpdateAvailable;
    using Downloading = VistrelUpdater::Downloading;
    using Installing = VistrelUpdater::Installing;
    using Failed = VistrelUpdater::Failed;
    using State = VistrelUpdater::State;

    // The notes in the interface's language, else the other's, else a stock sentence.
    static std::string localizedNotes(const ReleaseInfo& release);

    using QObject::QObject;

    const State& state() const { return state_; }
    virtual std::string currentVersion() const = 0;
    virtual void checkForUpdates(bool silent) = 0;
    virtual void downloadAndInstall(const ReleaseInfo& release) = 0;
    // Set when this copy cannot replace itself (a system package): the window then shows this
    // text in place of the install button.
    virtual std::optional<std::string> systemManagedNote() const { return std::nullopt; }

    // Whether a launch may check, when a day has passed; stored under
    // "org.vistrel.viewer.autoCheckUpdates", true while nothing is stored. Readable without an
    // updater, as the headless settings panel does.
    static bool autoCheckOnLaunch();
    static void setAutoCheckOnLaunch(bool enabled);

    // The program's one updater; absent in the headless modes.
    static Updater* shared();
    static void setShared(Updater* updater);

  signals:
    void stateChanged();

  protected:
    void setState(State state);

  private:
    State state_;
};

}  // namespace vistrel::app

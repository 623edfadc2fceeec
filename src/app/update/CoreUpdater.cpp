#include "update/CoreUpdater.h"

#include <QCoreApplication>

#include "settings/AppVersion.h"
#include "settings/Localization.h"
#include "shell/Preferences.h"

namespace vistrel::app {

namespace {

std::optional<int> buildNumber() {
    const auto& build = AppVersion::current().build;
    if (!build) return std::nullopt;
    try {
        return std::stoi(*build);
    } catch (const std::exception&) {
        return std::nullopt;
    }
}

}  // namespace

CoreUpdater::CoreUpdater(QObject* parent) : Updater(parent) {
    VistrelUpdater::Hooks hooks;
    // Workers post to the application object; the core drops results once the updater is gone.
    hooks.postToMain = [](std::function<void()> fn) {
        if (auto* app = QCoreApplication::instance())
            QMetaObject::invokeMethod(app, std::move(fn), Qt::QueuedConnection);
    };
    hooks.terminate = [] { QMetaObject::invokeMethod(qApp, &QCoreApplication::quit); };
    hooks.store = &Preferences::store();
    hooks.relaunchArguments = Localization::commandLine();
    core_ = std::make_unique<VistrelUpdater>("Vistrel", "org.vistrel.viewer", "vistrel/vistrel",
                                             AppVersion::current().shortVersion, buildNumber(),
                                             true, std::move(hooks));
    core_->onStateChanged = [this] { publish(); };
}

std::string CoreUpdater::currentVersion() const {
    return core_->currentVersion;
}

void CoreUpdater::checkForUpdates(bool silent) {
    core_->checkForUpdates(silent);
}

void CoreUpdater::downloadAndInstall(const ReleaseInfo& release) {
    core_->downloadAndInstall(release);
}

std::optional<std::string> CoreUpdater::systemManagedNote() const {
    if (!core_->isSystemManaged()) return std::nullopt;
    return VistrelUpdater::systemManagedMessage();
}

void CoreUpdater::publish() {
    setState(core_->state());
}

}  // namespace vistrel::app

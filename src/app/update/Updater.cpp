#include "update/Updater.h"

#include "settings/Localization.h"
#include "settings/SettingsStore.h"
#include "shell/Preferences.h"

namespace vistrel::app {

namespace {

constexpr const char* autoCheckKey = "org.vistrel.viewer.autoCheckUpdates";
Updater* sharedUpdater = nullptr;

}  // namespace

std::string Updater::localizedNotes(const ReleaseInfo& release) {
    auto present = [](const std::optional<std::string>& notes) { return notes && !notes->empty(); };
    const auto& first = Localization::isEnglish() ? release.notesEN : release.notesFR;
    const auto& second = Localization::isEnglish() ? release.notesFR : release.notesEN;
    if (present(first)) return *first;
    if (present(second)) return *second;
    return L("Mise à jour de maintenance et d'améliorations.", "Maintenance and feature update.");
}

bool Updater::autoCheckOnLaunch() {
    const auto stored = Preferences::store().storedValue(autoCheckKey);
    return !stored || !stored->is_boolean() || stored->get<bool>();
}

void Updater::setAutoCheckOnLaunch(bool enabled) {
    Preferences::store().set(autoCheckKey, enabled);
}

Updater* Updater::shared() {
    return sharedUpdater;
}

void Updater::setShared(Updater* updater) {
    sharedUpdater = updater;
}

void Updater::setState(State state) {
    state_ = std::move(state);
    emit stateChanged();
}

}  // namespace vistrel::app

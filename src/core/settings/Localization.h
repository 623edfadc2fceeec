// The current interface language, shared by every thread under a lock, and L(fr, en).
//
// The initial value is computed on first use: --lang from the command line (see
// setCommandLine), else the stored "org.vistrel.viewer.language", else `system`.
#pragma once

#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "settings/AppLanguage.h"

namespace vistrel {

class SettingsStore;

namespace Localization {

// Arguments without argument 0; call before the first use of L. Also used by resolvedCode.
void setCommandLine(std::vector<std::string> arguments);
const std::vector<std::string>& commandLine();
// The language chosen by --lang, if the command line has one that names fr or en.
std::optional<AppLanguage> commandLineLanguage();

// The store that keeps the choice; SettingsStore::standard() unless replaced (tests).
void setStore(SettingsStore* store);

AppLanguage current();
// Stores the value, writes it under "org.vistrel.viewer.language" and "AppleLanguages".
void setCurrent(AppLanguage language);
bool isEnglish();

// Forget the computed value so the next use recomputes it (tests).
void resetForTesting();

}  // namespace Localization

// The English text when the resolved language is English, otherwise the French.
inline std::string L(std::string_view fr, std::string_view en) {
    return std::string(Localization::isEnglish() ? en : fr);
}

}  // namespace vistrel

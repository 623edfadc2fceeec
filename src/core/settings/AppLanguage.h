// The interface language the user picked: follow the system, or French, or English.
#pragma once

#include <array>
#include <optional>
#include <string>
#include <string_view>

namespace vistrel {

enum class AppLanguage { system, fr, en };

inline constexpr std::array<AppLanguage, 3> allAppLanguages{AppLanguage::system, AppLanguage::fr,
                                                            AppLanguage::en};

// "system", "fr", "en": the stored and wire form.
std::string_view rawValue(AppLanguage language);
std::optional<AppLanguage> appLanguageFromRaw(std::string_view raw);

// "fr" or "en". For `system`: VISTREL_LANG, then --lang, then the user's preferred languages
// (LANGUAGE, LC_ALL, LC_MESSAGES, LANG); French for anything but English.
std::string resolvedCode(AppLanguage language);
bool isEnglish(AppLanguage language);
// Name shown in the language menu; "System"/"Système" follows the resolved language.
std::string label(AppLanguage language);
// A POSIX locale name for formatting in this language ("fr_FR.UTF-8" or "en_US.UTF-8").
std::string localeName(AppLanguage language);

// First of the user's preferred languages in the Linux environment variables, lower-cased;
// empty when none is set (or only "C"/"POSIX").
std::string preferredSystemLanguage();

}  // namespace vistrel

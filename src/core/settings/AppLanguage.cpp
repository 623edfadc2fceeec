#include "settings/AppLanguage.h"

#include <algorithm>
#include <cstdlib>

#include "settings/Localization.h"

namespace vistrel {

namespace {

std::string lower(std::string_view s) {
    std::string r(s);
    std::transform(r.begin(), r.end(), r.begin(),
                   [](unsigned char c) { return char(c >= 'A' && c <= 'Z' ? c + 32 : c); });
    return r;
}

std::optional<std::string> codeFrom(std::string_view value) {
    std::string l = lower(value);
    if (l.starts_with("en")) return "en";
    if (l.starts_with("fr")) return "fr";
    return std::nullopt;
}

}  // namespace

std::string_view rawValue(AppLanguage language) {
    switch (language) {
        case AppLanguage::system:
            return "system";
        case AppLanguage::fr:
            return "fr";
        case AppLanguage::en:
            return "en";
    }
    return "system";
}

std::optional<AppLanguage> appLanguageFromRaw(std::string_view raw) {
    for (AppLanguage l : allAppLanguages)
        if (rawValue(l) == raw) return l;
    return std::nullopt;
}

std::string preferredSystemLanguage() {
    for (const char* name : {"LANGUAGE", "LC_ALL", "LC_MESSAGES", "LANG"}) {
        const char* v = std::getenv(name);
        if (!v || !*v) continue;
        std::string value = v;
        // LANGUAGE is a priority list "fr:en"; the first entry is the preferred one.
        value = value.substr(0, value.find(':'));
        if (value.empty() || value == "C" || value == "POSIX" || value.starts_with("C.")) continue;
        return lower(value);
    }
    return {};
}

std::string resolvedCode(AppLanguage language) {
    switch (language) {
        case AppLanguage::fr:
            return "fr";
        case AppLanguage::en:
            return "en";
        case AppLanguage::system:
            break;
    }
    if (const char* v = std::getenv("VISTREL_LANG"); v)
        if (auto code = codeFrom(v)) return *code;
    if (auto cl = Localization::commandLineLanguage()) return std::string(rawValue(*cl));
    return preferredSystemLanguage().starts_with("en") ? "en" : "fr";
}

bool isEnglish(AppLanguage language) {
    return resolvedCode(language) == "en";
}

std::string label(AppLanguage language) {
    switch (language) {
        case AppLanguage::system:
            return Localization::isEnglish() ? "System" : "Système";
        case AppLanguage::fr:
            return "Français";
        case AppLanguage::en:
            return "English";
    }
    return {};
}

std::string localeName(AppLanguage language) {
    return isEnglish(language) ? "en_US.UTF-8" : "fr_FR.UTF-8";
}

}  // namespace vistrel

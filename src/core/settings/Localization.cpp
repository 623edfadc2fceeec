#include "settings/Localization.h"

#include <algorithm>
#include <mutex>

#include "settings/SettingsStore.h"

namespace vistrel::Localization {

namespace {

constexpr const char* kLanguageKey = "org.vistrel.viewer.language";

struct State {
    std::mutex mutex;
    std::vector<std::string> arguments;
    SettingsStore* store = nullptr;
    std::optional<AppLanguage> current;
};

State& state() {
    static State s;
    return s;
}

SettingsStore& storeLocked(State& s) {
    return s.store ? *s.store : SettingsStore::standard();
}

std::optional<AppLanguage> languageFromArguments(const std::vector<std::string>& args) {
    auto it = std::find(args.begin(), args.end(), "--lang");
    if (it == args.end() || it + 1 == args.end()) return std::nullopt;
    std::string v = *(it + 1);
    std::transform(v.begin(), v.end(), v.begin(),
                   [](unsigned char c) { return char(c >= 'A' && c <= 'Z' ? c + 32 : c); });
    if (v.starts_with("en")) return AppLanguage::en;
    if (v.starts_with("fr")) return AppLanguage::fr;
    return std::nullopt;
}

}  // namespace

void setCommandLine(std::vector<std::string> arguments) {
    std::lock_guard lock(state().mutex);
    state().arguments = std::move(arguments);
}

const std::vector<std::string>& commandLine() {
    return state().arguments;
}

std::optional<AppLanguage> commandLineLanguage() {
    std::lock_guard lock(state().mutex);
    return languageFromArguments(state().arguments);
}

void setStore(SettingsStore* store) {
    std::lock_guard lock(state().mutex);
    state().store = store;
}

AppLanguage current() {
    State& s = state();
    std::lock_guard lock(s.mutex);
    if (!s.current) {
        if (auto cl = languageFromArguments(s.arguments)) {
            s.current = *cl;
        } else {
            auto stored = storeLocked(s).storedValue(kLanguageKey);
            std::optional<AppLanguage> l;
            if (stored && stored->is_string()) l = appLanguageFromRaw(stored->get<std::string>());
            s.current = (l && *l != AppLanguage::system) ? *l : AppLanguage::system;
        }
    }
    return *s.current;
}

void setCurrent(AppLanguage language) {
    SettingsStore* store;
    {
        State& s = state();
        std::lock_guard lock(s.mutex);
        s.current = language;
        store = &storeLocked(s);
    }
    store->set(kLanguageKey, std::string(rawValue(language)));
    if (language == AppLanguage::system)
        store->remove("AppleLanguages");
    else
        store->set("AppleLanguages", nlohmann::json::array({std::string(rawValue(language))}));
}

bool isEnglish() {
    return vistrel::isEnglish(current());
}

void resetForTesting() {
    std::lock_guard lock(state().mutex);
    state().current.reset();
}

}  // namespace vistrel::Localization

// Fixes the interface language for a scope, keeping the choice in a throw-away settings file.
#pragma once

#include "TestEnv.h"
#include "settings/Localization.h"
#include "settings/SettingsStore.h"

namespace vistrel::test {

class ScopedLanguage {
  public:
    explicit ScopedLanguage(AppLanguage language) {
        Localization::setStore(&store_);
        Localization::resetForTesting();
        Localization::setCurrent(language);
    }
    ~ScopedLanguage() {
        Localization::setStore(nullptr);
        Localization::resetForTesting();
    }
    ScopedLanguage(const ScopedLanguage&) = delete;
    ScopedLanguage& operator=(const ScopedLanguage&) = delete;

  private:
    TempDir dir_;
    SettingsStore store_{dir_ / "settings.json"};
};

}  // namespace vistrel::test

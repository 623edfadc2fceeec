#include "settings/Localization.h"

#include <gtest/gtest.h>

#include "TestEnv.h"
#include "settings/SettingsStore.h"

using namespace vistrel;

namespace {

// Each case starts from a clean store, command line and environment.
class LocalizationTest : public testing::Test {
  protected:
    void SetUp() override {
        Localization::setStore(&store);
        Localization::setCommandLine({});
        Localization::resetForTesting();
    }
    void TearDown() override {
        Localization::setStore(nullptr);
        Localization::setCommandLine({});
        Localization::resetForTesting();
    }
    void restart(std::vector<std::string> args) {
        Localization::setCommandLine(std::move(args));
        Localization::resetForTesting();
    }
    test::TempDir dir;
    SettingsStore store{dir / "settings.json"};
    test::ScopedEnv noVistrelLang{"VISTREL_LANG", nullptr};
    test::ScopedEnv language{"LANGUAGE", nullptr};
    test::ScopedEnv lcAll{"LC_ALL", nullptr};
    test::ScopedEnv lcMessages{"LC_MESSAGES", nullptr};
    test::ScopedEnv lang{"LANG", "fr_FR.UTF-8"};
};

}  // namespace

TEST_F(LocalizationTest, commandLineLangReadsPrefixAndOutranksStore) {
    store.set("org.vistrel.viewer.language", "fr");
    restart({"--lang", "EN"});
    EXPECT_EQ(Localization::current(), AppLanguage::en);
    restart({"a.skp", "--lang", "english"});
    EXPECT_TRUE(Localization::isEnglish());
    restart({"--lang", "de"});
    EXPECT_EQ(Localization::current(), AppLanguage::fr);  // stored choice
    restart({"--lang"});
    EXPECT_EQ(Localization::current(), AppLanguage::fr);
}

TEST_F(LocalizationTest, vistrelLangOnlyAffectsStoredSystem) {
    test::ScopedEnv v("VISTREL_LANG", "en");
    store.set("org.vistrel.viewer.language", "fr");
    restart({});
    EXPECT_FALSE(Localization::isEnglish());
    store.set("org.vistrel.viewer.language", "system");
    restart({});
    EXPECT_EQ(Localization::current(), AppLanguage::system);
    EXPECT_TRUE(Localization::isEnglish());  // on a French system
    EXPECT_EQ(L("Oui", "Yes"), "Yes");
}

TEST_F(LocalizationTest, systemLanguageFallsBackToFrench) {
    restart({});
    {
        test::ScopedEnv de("LANG", "de_DE.UTF-8");
        EXPECT_EQ(resolvedCode(AppLanguage::system), "fr");
    }
    {
        test::ScopedEnv en("LANGUAGE", "en_GB:fr");
        EXPECT_EQ(resolvedCode(AppLanguage::system), "en");
        EXPECT_EQ(label(AppLanguage::system), "System");
    }
    {
        // LC_ALL outranks LANG; "C" says nothing and falls through.
        test::ScopedEnv all("LC_ALL", "en_US.UTF-8");
        EXPECT_EQ(resolvedCode(AppLanguage::system), "en");
        test::ScopedEnv c("LC_ALL", "C");
        EXPECT_EQ(resolvedCode(AppLanguage::system), "fr");
    }
    {
        test::ScopedEnv none("LANG", nullptr);
        EXPECT_EQ(resolvedCode(AppLanguage::system), "fr");
    }
    EXPECT_EQ(label(AppLanguage::system), "Système");
}

TEST_F(LocalizationTest, writingStoresRawValueAndSystemLanguageKey) {
    restart({});
    Localization::setCurrent(AppLanguage::en);
    EXPECT_EQ(store.value("org.vistrel.viewer.language"), "en");
    EXPECT_EQ(store.value("AppleLanguages"), nlohmann::json::array({"en"}));
    Localization::setCurrent(AppLanguage::system);
    EXPECT_EQ(store.value("org.vistrel.viewer.language"), "system");
    EXPECT_FALSE(store.contains("AppleLanguages"));
    // A value that names no language reads as system.
    store.set("org.vistrel.viewer.language", "klingon");
    restart({});
    EXPECT_EQ(Localization::current(), AppLanguage::system);
    EXPECT_EQ(appLanguageFromRaw("en"), AppLanguage::en);
    EXPECT_EQ(appLanguageFromRaw("EN"), std::nullopt);
}

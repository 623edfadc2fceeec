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
    EXPECT_EQ(label(AppLanguage::system), "Système");
    // LANGUAGE, then LC_ALL ("C" says nothing), LC_MESSAGES, LANG; French for all but English.
    struct Case {
        const char *language, *lcAll, *lang, *expected;
    } cases[] = {
        {nullptr, nullptr, "de_DE.UTF-8", "fr"}, {"en_GB:fr", nullptr, "fr_FR", "en"},
        {nullptr, "en_US.UTF-8", "fr_FR", "en"}, {nullptr, "C", "fr_FR", "fr"},
        {nullptr, "C", "en_US", "en"},           {nullptr, nullptr, nullptr, "fr"},
    };
    for (const Case& c : cases) {
        test::ScopedEnv language("LANGUAGE", c.language), all("LC_ALL", c.lcAll),
            lang("LANG", c.lang);
        EXPECT_EQ(resolvedCode(AppLanguage::system), c.expected)
            << (c.language ? c.language : "-") << " " << (c.lcAll ? c.lcAll : "-") << " "
            << (c.lang ? c.lang : "-");
    }
    test::ScopedEnv en("LANGUAGE", "en_GB");
    EXPECT_EQ(label(AppLanguage::system), "System");
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

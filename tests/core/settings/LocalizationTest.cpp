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

// --lang outranks a stored choice; VISTREL_LANG only decides a stored "system".
TEST_F(LocalizationTest, commandLineThenStoreThenEnvironmentDecide) {
    test::ScopedEnv v("VISTREL_LANG", "en");
    struct Case {
        const char* stored;
        std::vector<std::string> args;
        AppLanguage current;
        bool english;
    } cases[] = {
        {"fr", {"--lang", "EN"}, AppLanguage::en, true},
        {"fr", {"a.skp", "--lang", "english"}, AppLanguage::en, true},
        {"fr", {"--lang", "de"}, AppLanguage::fr, false},
        {"fr", {"--lang"}, AppLanguage::fr, false},
        {"system", {}, AppLanguage::system, true},  // on a French system
        {"klingon", {}, AppLanguage::system, true},
    };
    for (const Case& c : cases) {
        store.set("org.vistrel.viewer.language", c.stored);
        restart(c.args);
        EXPECT_EQ(Localization::current(), c.current) << c.stored << " " << c.args.size();
        EXPECT_EQ(L("Oui", "Yes"), c.english ? "Yes" : "Oui");
    }
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
    EXPECT_EQ(appLanguageFromRaw("en"), AppLanguage::en);
    EXPECT_EQ(appLanguageFromRaw("EN"), std::nullopt);
}

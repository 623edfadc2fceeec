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
        restart({});
    }
    void TearDown() override {
        Localization::setStore(nullptr);
        restart({});
    }
    void restart(std::vector<std::string> args) {
        Localization::setCommandLine(std::move(args));
        Localization::resetForTesting();
    }
    test::TempDir dir;
    SettingsStore store{dir / "settings.json"};
    test::ScopedEnv vistrelLang{"VISTREL_LANG", nullptr}, language{"LANGUAGE", nullptr},
        lcAll{"LC_ALL", nullptr}, lcMessages{"LC_MESSAGES", nullptr}, lang{"LANG", "fr_FR.UTF-8"};
};

}  // namespace

// --lang outranks a stored choice; VISTREL_LANG only decides a stored "system"; the system's
// language comes from LANGUAGE, then LC_ALL ("C" says nothing), then LANG, and is French for
// anything but English.
TEST_F(LocalizationTest, commandLineThenStoreThenEnvironmentDecideAndAChoiceIsStoredRaw) {
    using enum AppLanguage;
    struct Case {
        const char* stored;
        std::vector<std::string> args;
        const char *vistrelLang, *language, *lcAll, *lang;
        AppLanguage current;
        bool english;
    } cases[] = {
        {"fr", {"--lang", "EN"}, {}, {}, {}, "fr_FR", en, true},
        {"fr", {"a.skp", "--lang", "english"}, {}, {}, {}, "fr", en, true},
        {"fr", {"--lang", "de"}, "en", {}, {}, "en_US", fr, false},
        {"fr", {"--lang"}, {}, {}, {}, "en_US", fr, false},
        {"system", {}, "en", {}, {}, "fr_FR", system, true},
        {"klingon", {}, "en", {}, {}, "fr_FR", system, true},
        {"system", {}, {}, {}, {}, "de_DE.UTF-8", system, false},
        {"system", {}, {}, "en_GB:fr", {}, "fr_FR", system, true},
        {"system", {}, {}, {}, "en_US.UTF-8", "fr_FR", system, true},
        {"system", {}, {}, {}, "C", "fr_FR", system, false},
        {"system", {}, {}, {}, "C", "en_US", system, true},
        {"system", {}, {}, {}, {}, {}, system, false},
    };
    for (const Case& c : cases) {
        test::ScopedEnv v("VISTREL_LANG", c.vistrelLang), language("LANGUAGE", c.language),
            all("LC_ALL", c.lcAll), lang("LANG", c.lang);
        store.set("org.vistrel.viewer.language", c.stored);
        restart(c.args);
        EXPECT_EQ(Localization::current(), c.current) << &c - cases;
        EXPECT_EQ(L("Oui", "Yes"), c.english ? "Yes" : "Oui") << &c - cases;
    }
    EXPECT_EQ(label(AppLanguage::system), "Système") << "on a French system";

    // A choice is stored raw, and the system's own language key only for an explicit one.
    Localization::setCurrent(AppLanguage::en);
    EXPECT_EQ(store.value("AppleLanguages"), nlohmann::json::array({"en"}));
    Localization::setCurrent(AppLanguage::system);
    EXPECT_EQ(store.value("org.vistrel.viewer.language"), "system");
    EXPECT_FALSE(store.contains("AppleLanguages"));
}

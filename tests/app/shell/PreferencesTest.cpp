#include "shell/Preferences.h"

#include <gtest/gtest.h>

#include "DocumentModelFixture.h"

using namespace vistrel;
using namespace vistrel::app;

namespace {

class PreferencesTest : public test::DocumentModelTest {
    test::ScopedEnv noEnvPort{"VISTREL_OSC_OUT_PORT", nullptr};
};

}  // namespace

TEST_F(PreferencesTest, removedKeysReadTheirDefaultsTheColourNeedsItsRedAndThePortStaysInRange) {
    Preferences::setBool("showsEdges", false);
    EXPECT_FALSE(Preferences::boolValue("showsEdges"));
    store.remove("showsEdges");
    EXPECT_TRUE(Preferences::boolValue("showsEdges"));
    // Green alone stored: still the default, since the colour counts only with its red.
    store.set("customBackdropG", 1.0);
    EXPECT_EQ(Preferences::customBackdropColor(), (Float3{0.14f, 0.16f, 0.20f}));
    Preferences::setCustomBackdropColor({0.5f, 0.25f, 1.0f});
    ASSERT_TRUE(store.flush());
    EXPECT_FLOAT_EQ(SettingsStore(store.path()).value("customBackdropB")->get<float>(), 1.0f);
    EXPECT_EQ(Preferences::customBackdropColor(), (Float3{0.5f, 0.25f, 1.0f}));

    Preferences::setOscOutPort(70000);
    Preferences::setOscOutPort(0);
    EXPECT_EQ(Preferences::oscOutPort(), 9151) << "the default";
    Preferences::setOscOutPort(9000);
    EXPECT_EQ(Preferences::oscOutPort(), 9000);
    struct Case {
        const char* env;
        uint16_t expected;
    } cases[] = {{"9200", 9200},  {"0", 0},       {"65535", 65535}, {"65536", 9000},
                 {"-1", 9000},    {"12ab", 9000}, {"", 9000},       {" 9200", 9000},
                 {"+9200", 9200}, {"+", 9000},    {"++1", 9000}};
    for (const Case& c : cases) {
        test::ScopedEnv env("VISTREL_OSC_OUT_PORT", c.env);
        EXPECT_EQ(Preferences::oscOutPort(), c.expected) << "'" << c.env << "'";
    }
}

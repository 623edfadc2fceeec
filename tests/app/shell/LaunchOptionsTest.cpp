#include "shell/LaunchOptions.h"

#include <gtest/gtest.h>

using namespace vistrel::app;

TEST(LaunchOptions, versionOutranksHelpFilesToOpenSkipOptionValuesAndModesAreParsed) {
    EXPECT_EQ(informationalText({"a.skp", "--help", "-v"}), versionLine());
    const auto help = informationalText({"-h"}).value_or("");
    EXPECT_TRUE(help.starts_with(versionLine()) && help.find("Usage") != help.npos) << help;
    EXPECT_EQ(informationalText({"--verbose", "a.skp"}), std::nullopt);

    EXPECT_EQ(filesToOpen({"-NSOption", "YES", "a.skp"}), std::vector<std::string>{"a.skp"});
    EXPECT_EQ(filesToOpen({"--lang", "en", "b.dxf", "--verbose", "c.dwg"}),
              (std::vector<std::string>{"b.dxf", "c.dwg"}));
    EXPECT_EQ(filesToOpen({"-psn_0_1"}), std::vector<std::string>{});

    using R = SnapshotRequest;
    const std::string out = "/tmp/vistrel-snapshot.png";
    struct Case {
        std::vector<std::string> args;
        std::optional<R> snapshot;
        bool selfTest;
        std::optional<std::string> selfTestFile;
    } cases[] = {
        {{}, {}, false, {}},
        {{"a.skp"}, {}, false, {}},
        {{"--snapshot"}, R{out, {}, {}}, false, {}},
        {{"--self-test", "--snapshot", "x.png"}, R{"x.png", {}, {}}, false, {}},
        {{"--snapshot", "out.png", "--view", "about"}, R{"out.png", {}, "about"}, false, {}},
        {{"--snapshot", "--view", "about"}, R{out, "about", "about"}, false, {}},  // input at p+2
        {{"--snapshot", "o.png", "m.dxf", "--view"}, R{"o.png", "m.dxf", {}}, false, {}},
        {{"--self-test"}, {}, true, {}},
        {{"--self-test", "m.skp"}, {}, true, "m.skp"},
        {{"--self-test", "-x"}, {}, true, {}},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(testing::PrintToString(c.args));
        LaunchOptions o = LaunchOptions::parse(c.args);
        EXPECT_EQ(o.snapshotRequest, c.snapshot);
        EXPECT_EQ(o.selfTestRequested, c.selfTest);
        EXPECT_EQ(o.selfTestFile, c.selfTestFile);
        EXPECT_EQ(o.isNormal(), !c.snapshot && !c.selfTest);
    }
    // A start by the session bus is a normal run with nothing to open.
    const LaunchOptions bus = LaunchOptions::parse({"--dbus-service"});
    EXPECT_TRUE(bus.startedByBus && bus.isNormal());
    EXPECT_FALSE(LaunchOptions::parse({"a.skp"}).startedByBus);
    EXPECT_TRUE(filesToOpen({"--dbus-service"}).empty());
}

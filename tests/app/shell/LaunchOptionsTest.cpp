#include "shell/LaunchOptions.h"

#include <gtest/gtest.h>

using namespace vistrel::app;

TEST(LaunchOptions, informationalFlagsVersionOutranksHelp) {
    EXPECT_EQ(informationalText({"a.skp", "--help", "-v"}), versionLine());
    const auto help = informationalText({"-h"});
    ASSERT_TRUE(help);
    EXPECT_TRUE(help->starts_with(versionLine() + " — Visualiseur 3D")) << *help;
    EXPECT_NE(help->find("\nUsage:\n  Vistrel [fichier.skp]\n"), std::string::npos);
    EXPECT_EQ(informationalText({"--verbose", "a.skp"}), std::nullopt);
}

TEST(LaunchOptions, modeParsingTable) {
    struct Case {
        std::vector<std::string> args;
        std::optional<SnapshotRequest> snapshot;
        bool selfTest;
        std::optional<std::string> selfTestFile;
    } cases[] = {
        {{}, std::nullopt, false, std::nullopt},
        {{"a.skp"}, std::nullopt, false, std::nullopt},
        {{"--snapshot"}, SnapshotRequest{"/tmp/vistrel-snapshot.png", {}, {}}, false, {}},
        {{"--self-test", "--snapshot", "x.png"}, SnapshotRequest{"x.png", {}, {}}, false, {}},
        {{"--snapshot", "out.png", "--view", "about"},
         SnapshotRequest{"out.png", {}, "about"},
         false,
         {}},
        // input stays at p+2 even when the output was left out
        {{"--snapshot", "--view", "about"},
         SnapshotRequest{"/tmp/vistrel-snapshot.png", "about", "about"},
         false,
         {}},
        {{"--snapshot", "o.png", "m.dxf", "--view"},
         SnapshotRequest{"o.png", "m.dxf", {}},
         false,
         {}},
        {{"--self-test"}, std::nullopt, true, std::nullopt},
        {{"--self-test", "m.skp"}, std::nullopt, true, "m.skp"},
        {{"--self-test", "-x"}, std::nullopt, true, std::nullopt},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(testing::PrintToString(c.args));
        LaunchOptions o = LaunchOptions::parse(c.args);
        EXPECT_EQ(o.snapshotRequest, c.snapshot);
        EXPECT_EQ(o.selfTestRequested, c.selfTest);
        EXPECT_EQ(o.selfTestFile, c.selfTestFile);
        EXPECT_EQ(o.isNormal(), !c.snapshot && !c.selfTest);
    }
}

TEST(LaunchOptions, openFilesFilterSkipsOptionValues) {
    EXPECT_EQ(filesToOpen({"-NSOption", "YES", "a.skp"}), std::vector<std::string>{"a.skp"});
    EXPECT_EQ(filesToOpen({"--lang", "en", "b.dxf", "--verbose", "c.dwg"}),
              (std::vector<std::string>{"b.dxf", "c.dwg"}));
    EXPECT_EQ(filesToOpen({"-psn_0_1"}), std::vector<std::string>{});
}

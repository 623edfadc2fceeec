#include "shell/LaunchOptions.h"

#include <gtest/gtest.h>

using namespace vistrel::app;

TEST(LaunchOptions, informationalFlagsVersionOutranksHelp) {
    auto version = informationalText({"--version", "--help"});
    ASSERT_TRUE(version);
    EXPECT_TRUE(version->starts_with("Vistrel 1.1.0"));
    EXPECT_EQ(version->find("Usage"), std::string::npos);
    EXPECT_EQ(informationalText({"a.skp", "-v"}), version);
    auto help = informationalText({"-h"});
    ASSERT_TRUE(help);
    EXPECT_EQ(*help, versionLine() +
                         " — Visualiseur 3D de fichiers SketchUp (.skp)\n\nUsage:\n"
                         "  Vistrel [fichier.skp]\n  Vistrel --version\n  Vistrel --help\n"
                         "  Vistrel --self-test [fichier.skp]\n  Vistrel --snapshot <sortie.png> "
                         "[fichier.skp] [--view document|about|help|shortcuts|settings] "
                         "[--lang fr|en]");
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
    EXPECT_EQ(filesToOpen({}), std::vector<std::string>{});
}

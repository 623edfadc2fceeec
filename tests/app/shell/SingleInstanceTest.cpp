// One Vistrel per session bus: run under dbus-run-session, which gives the test a bus of its
// own. Each launch has its own ports and settings, so only the bus joins them.
#include <gtest/gtest.h>

#include <csignal>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <memory>

#include "RunningProgram.h"

using vistrel::test::RunningProgram;
using vistrel::test::TempDir;

TEST(SingleInstance, aSecondLaunchHandsItsFileOverHeadlessStandsAloneAndACrashBlocksNothing) {
    const char* bus = std::getenv("DBUS_SESSION_BUS_ADDRESS");
    if (!bus || !*bus) GTEST_SKIP() << "no session bus: run under dbus-run-session";
    const std::map<std::string, std::string> environment{{"DBUS_SESSION_BUS_ADDRESS", bus}};
    TempDir folder;
    const std::string first = (folder / "first.dxf").string();
    const std::string second = (folder / "second.dxf").string();
    std::filesystem::copy_file(VISTREL_SAMPLE, first);
    std::filesystem::copy_file(VISTREL_SAMPLE, second);

    // With no display the program still runs offscreen and owns the name.
    auto running = std::make_unique<RunningProgram>(std::vector<std::string>{first}, environment);
    ASSERT_TRUE(running->waitForPort("tcp", running->httpPort));
    ASSERT_TRUE(running->waitForState("/filePath", first));

    RunningProgram withFile({second}, environment);
    EXPECT_EQ(withFile.exitStatus(20), 0);
    EXPECT_TRUE(running->waitForState("/filePath", second)) << running->state()["filePath"];
    RunningProgram withoutFile({}, environment);
    EXPECT_EQ(withoutFile.exitStatus(20), 0);

    // A snapshot never hands off: it draws its own picture while the first runs.
    const std::string picture = (folder / "snapshot.png").string();
    RunningProgram snapshot({"--snapshot", picture, second}, environment);
    EXPECT_EQ(snapshot.exitStatus(120), 0);
    EXPECT_TRUE(std::filesystem::exists(picture));
    EXPECT_TRUE(running->running());

    // Killed, the first leaves nothing behind: the next launch with a file is the one running.
    ::kill(running->pid(), SIGKILL);
    EXPECT_NE(running->exitStatus(10), 0);
    running = std::make_unique<RunningProgram>(std::vector<std::string>{second}, environment);
    ASSERT_TRUE(running->waitForPort("tcp", running->httpPort));
    EXPECT_TRUE(running->waitForState("/filePath", second));
}

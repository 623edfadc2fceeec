// An installed copy of the real program updates itself from a feed on loopback: check, download,
// verification, swap script, and the relaunched program answering --version.
#include <gtest/gtest.h>

#include "ScopedLanguage.h"
#include "UpdateTestKit.h"
#include "settings/SettingsStore.h"
#include "update/AppSignature.h"
#include "update/VistrelUpdater.h"

namespace vistrel {
namespace {

using namespace updatetest;

std::string output(const std::string& command) {
    std::string text;
    if (FILE* pipe = popen(command.c_str(), "r")) {
        char buffer[256];
        while (fgets(buffer, sizeof buffer, pipe)) text += buffer;
        pclose(pipe);
    }
    return text;
}

fs::path installCopy(const fs::path& parent, const std::string& versionFile, const KeyPair& key) {
    const fs::path app = parent / "Vistrel.app";
    fs::create_directories(app / "bin");
    fs::copy_file(VISTREL_BINARY, app / "bin/vistrel");
    writeFile(app / "share/vistrel/version", versionFile);
    EXPECT_TRUE(AppSignature::sign(app, key.privatePEM));
    return app;
}

TEST(UpdateEndToEndTest, InstalledCopyUpdatesItselfFromLoopbackFeed) {
    test::ScopedLanguage english(AppLanguage::en);
    const fs::path root = fs::temp_directory_path() / ("vistrel-e2e-" + std::to_string(getpid()));
    fs::remove_all(root);
    fs::create_directories(root / "tmp");
    fs::create_directories(root / "feed");
    setenv("TMPDIR", (root / "tmp").c_str(), 1);
    KeyPair key;
    const fs::path installed = installCopy(root / "install", "1.1.0\n3\n", key);
    ASSERT_EQ(output("'" + (installed / "bin/vistrel").string() + "' --version"),
              "Vistrel 1.1.0 (3)\n");
    zipFolder(installCopy(root / "release", "9.9.0\n42\n", key).parent_path(),
              root / "feed/Vistrel-9.9.0.zip");
    const std::string hash = AppSignature::sha256Hex(readFile(root / "feed/Vistrel-9.9.0.zip"));
    LoopbackServer server(root / "feed");
    writeFile(root / "feed/release.json",
              R"({"tag_name":"v9.9.0","body":"sha256: )" + hash +
                  R"(","assets":[{"name":"Vistrel-9.9.0.zip","browser_download_url":")" +
                  server.url("Vistrel-9.9.0.zip") + R"("}]})");

    // The running program: a child that ends when the updater asks it to.
    const pid_t running = fork();
    if (running == 0) {
        pause();
        _exit(0);
    }
    MainQueue queue;
    SettingsStore store(root / "settings.json");
    store.set("org.vistrel.viewer.updateURL", server.url("release.json"));
    VistrelUpdater::Hooks hooks;
    hooks.postToMain = queue.poster();
    hooks.terminate = [running] {
        kill(running, SIGTERM);
        waitpid(running, nullptr, 0);
    };
    hooks.store = &store;
    hooks.trustedKeyPEM = key.publicPEM;
    hooks.runningProgram = installed / "bin/vistrel";
    hooks.waitForProcess = running;
    hooks.relaunchArguments = {"--version"};
    hooks.relaunchOutput = (root / "relaunched.txt").string();
    VistrelUpdater updater("Vistrel", "org.vistrel.viewer", "o/r", "1.1.0", 3, false, hooks);

    updater.checkForUpdates(false);
    ASSERT_TRUE(queue.pumpUntil([&] { return updater.availableRelease().has_value(); }));
    updater.downloadAndInstall(*updater.availableRelease());
    EXPECT_TRUE(queue.pumpUntil(
        [&] { return readFile(root / "relaunched.txt") == "Vistrel 9.9.0 (42)\n"; }, 60));
    EXPECT_TRUE(AppSignature::verify(installed));
    EXPECT_TRUE(queue.pumpUntil([&] {
        for (const auto& entry : fs::directory_iterator(root / "tmp"))
            if (entry.path().filename().string().starts_with("VistrelUpdater-")) return false;
        return true;
    }));
    EXPECT_FALSE(fs::exists(installed.string() + ".new"));
    unsetenv("TMPDIR");
    fs::remove_all(root);
}

}  // namespace
}  // namespace vistrel

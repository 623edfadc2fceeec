#include "update/VistrelUpdater.h"

#include <gtest/gtest.h>
#include <netinet/in.h>
#include <sys/socket.h>

#include "ScopedLanguage.h"
#include "UpdateTestKit.h"
#include "settings/SettingsStore.h"
#include "update/AppSignature.h"
#include "update/TrustedReleaseKey.h"
#include "update/UpdateError.h"

namespace vistrel {
namespace {

using namespace updatetest;

TEST(VistrelUpdaterTest, VersionOrder) {
    struct Case {
        const char* candidate;
        std::optional<int> candidateBuild;
        const char* current;
        std::optional<int> build;
        bool newer;
    } cases[] = {
        {"1.10", {}, "1.9", {}, true},         {"1.2.0", {}, "1.2", {}, false},
        {"1.2.0-rc1", {}, "1.2.0", {}, false}, {"v1.3", {}, "1.2.9", {}, true},
        {"1.2", 12, "1.2", 11, true},          {"1.2", {}, "1.2", 11, false},
        {"1.1.9", 99, "1.2", 1, false},        {" V2.x.1 \n", {}, "2.0.0", {}, true},
    };
    for (const auto& c : cases)
        EXPECT_EQ(VistrelUpdater::isNewer(c.candidate, c.candidateBuild, c.current, c.build),
                  c.newer)
            << c.candidate << " vs " << c.current;
    EXPECT_EQ(VistrelUpdater::normalizeVersion("v1.2.0-beta"), (std::vector<int>{1, 2, 0}));
    EXPECT_EQ(VistrelUpdater::normalizeVersion("1..x.3"), (std::vector<int>{1, 0, 3}));
}

TEST(VistrelUpdaterTest, ParsesGitHubReleasesAndManifests) {
    test::ScopedLanguage english(AppLanguage::en);
    const std::string hash(64, 'A');
    const auto github = VistrelUpdater::parseRelease(
        R"({"tag_name":"v2.1.0","html_url":"https://example.org/r","body":"Notes\nSHA256 = )" +
            hash + R"(","assets":[{"name":"notes.txt","browser_download_url":"https://e.org/n"},
             {"name":"Other.ZIP","browser_download_url":"https://e.org/o.zip"},
             {"name":"vistrel-linux.zip","browser_download_url":"https://e.org/v.zip"}]})",
        "org.vistrel.viewer", "Vistrel");
    EXPECT_EQ(github.version, "2.1.0");
    EXPECT_EQ(github.downloadURL, "https://e.org/v.zip");
    EXPECT_EQ(github.sha256, std::string(64, 'a'));
    EXPECT_FALSE(github.build);
    EXPECT_EQ(github.htmlURL, "https://example.org/r");
    EXPECT_EQ(github.notesFR, github.notesEN);

    const auto anyZip = VistrelUpdater::parseRelease(
        R"({"tag_name":"3","assets":[{"name":"a.txt","browser_download_url":"https://e.org/a"},
             {"name":"pack.zip","browser_download_url":"https://e.org/p.zip"}]})",
        "org.vistrel.viewer", "Vistrel");
    EXPECT_EQ(anyZip.downloadURL, "https://e.org/p.zip");
    EXPECT_FALSE(anyZip.sha256);

    const auto keyed = VistrelUpdater::parseRelease(
        R"({"org.vistrel.viewer":{"version":"V1.4","url":"https://e.org/x.zip","build":"12",
             "sha256":"  ","notes":"both","notes_en":"english"}})",
        "org.vistrel.viewer", "Vistrel");
    EXPECT_EQ(keyed.version, "1.4");
    EXPECT_EQ(keyed.build, 12);
    EXPECT_FALSE(keyed.sha256);
    EXPECT_EQ(keyed.notesFR, "both");
    EXPECT_EQ(keyed.notesEN, "english");
    const auto flat = VistrelUpdater::parseRelease(
        R"({"version":"1.5","download_url":"https://e.org/y.zip","build":7})", "x", "Vistrel");
    EXPECT_EQ(flat.downloadURL, "https://e.org/y.zip");
    EXPECT_EQ(flat.build, 7);

    struct Bad {
        const char* body;
        int code;
        const char* message;
    } bad[] = {
        {"[1,2]", 1, "Invalid update JSON response."},
        {R"({"name":"x"})", 1, "Invalid update JSON response."},
        {R"({"tag_name":"1","assets":[{"name":"a.tgz","browser_download_url":"https://e/a"}]})", 2,
         "No update .zip archive found."},
        {R"({"tag_name":"1","assets":[{"name":"a.zip","browser_download_url":"not a url"}]})", 2,
         "No update .zip archive found."},
        {R"({"Vistrel":{"version":"1"}})", 3, "Incomplete update manifest."},
    };
    for (const auto& b : bad) {
        try {
            VistrelUpdater::parseRelease(b.body, "org.vistrel.viewer", "Vistrel");
            ADD_FAILURE() << b.body;
        } catch (const UpdateError& error) {
            EXPECT_EQ(error.code(), b.code) << b.body;
            EXPECT_STREQ(error.what(), b.message);
        }
    }
    test::ScopedLanguage french(AppLanguage::fr);
    try {
        VistrelUpdater::parseRelease("{}", "a", "b");
        ADD_FAILURE();
    } catch (const UpdateError& error) {
        EXPECT_STREQ(error.what(), "Réponse JSON de mise à jour invalide.");
    }
    EXPECT_THROW(VistrelUpdater::parseRelease("{", "a", "b"), nlohmann::json::parse_error);
}

// A served feed folder, an installed signed copy, and an updater pointed at both.
class UpdaterFixture : public ::testing::Test {
  protected:
    void SetUp() override {
        root = fs::temp_directory_path() / ("vistrel-update-" + std::to_string(getpid()));
        fs::remove_all(root);
        fs::create_directories(root / "tmp");
        fs::create_directories(root / "feed");
        setenv("TMPDIR", (root / "tmp").c_str(), 1);
        unsetenv("VISTREL_UPDATE_URL");
        store = std::make_unique<SettingsStore>(root / "settings.json");
        installed = makeApp(root / "install", "1.0.0", projectKey);
        server = std::make_unique<LoopbackServer>(root / "feed");
    }
    void TearDown() override {
        server.reset();
        unsetenv("TMPDIR");
        fs::remove_all(root);
    }

    fs::path makeApp(const fs::path& parent, const std::string& version, const KeyPair& key,
                     const std::string& name = "Vistrel.app") {
        const fs::path app = parent / name;
        writeFile(app / "bin/vistrel", "#!/bin/sh\n[ \"$1\" = \"--it's\" ] && echo program\n");
        fs::permissions(app / "bin/vistrel", fs::perms::owner_all, fs::perm_options::add);
        writeFile(app / "share/vistrel/version", version + "\n5\n");
        fs::create_directory_symlink("share/vistrel", app / "data");
        EXPECT_TRUE(AppSignature::sign(app, key.privatePEM));
        return app;
    }

    std::unique_ptr<VistrelUpdater> updater(bool startAutoCheck = false) {
        // The swap script waits for a process already gone, so it runs at once.
        const pid_t gone = fork();
        if (gone == 0) _exit(0);
        waitpid(gone, nullptr, 0);
        VistrelUpdater::Hooks hooks;
        hooks.postToMain = queue.poster();
        hooks.terminate = [this] { terminated = true; };
        hooks.store = store.get();
        hooks.trustedKeyPEM = projectKey.publicPEM;
        hooks.runningProgram = installed / "bin/vistrel";
        hooks.waitForProcess = gone;
        hooks.relaunchArguments = {"--it's"};
        hooks.relaunchOutput = (root / "relaunched.txt").string();
        auto u = std::make_unique<VistrelUpdater>("Vistrel", "org.vistrel.viewer", "o/r", "1.2.0",
                                                  11, startAutoCheck, std::move(hooks));
        return u;
    }

    // Serves a zip and a manifest pointing at it.
    ReleaseInfo serve(const std::string& zipName, std::optional<std::string> sha256 = {}) {
        ReleaseInfo release{"2.0.0", {}, server->url(zipName), sha256, {}, {}, {}};
        return release;
    }

    std::string failure(VistrelUpdater& u) {
        EXPECT_TRUE(queue.pumpUntil([&] {
            return std::holds_alternative<VistrelUpdater::Failed>(u.state()) || terminated;
        }));
        const auto* failed = std::get_if<VistrelUpdater::Failed>(&u.state());
        return failed ? failed->message : "(no failure)";
    }

    bool noTemporaryFiles() const {
        for (const auto& entry : fs::directory_iterator(root / "tmp"))
            if (entry.path().filename().string().starts_with("VistrelUpdater-")) return false;
        return true;
    }

    fs::path root, installed;
    KeyPair projectKey, otherKey;
    std::unique_ptr<SettingsStore> store;
    std::unique_ptr<LoopbackServer> server;
    MainQueue queue;
    bool terminated = false;
};

TEST_F(UpdaterFixture, ChecksFeedsOverLoopback) {
    test::ScopedLanguage english(AppLanguage::en);
    writeFile(root / "feed/newer.json",
              R"({"tag_name":"v2.0.0","assets":[{"name":"Vistrel.zip",
                   "browser_download_url":"http://127.0.0.1/Vistrel.zip"}]})");
    writeFile(root / "feed/same.json", R"({"version":"1.2","download_url":"http://h/a.zip"})");
    writeFile(root / "feed/older.json", R"({"Vistrel":{"version":"1.1.9","url":"http://h/a"}})");
    writeFile(root / "feed/pre.json", R"({"version":"1.2.0-rc2","download_url":"http://h/a"})");
    writeFile(root / "feed/build.json",
              R"({"version":"1.2.0","download_url":"http://h/a","build":12})");
    writeFile(root / "feed/array.json", "[]");
    auto u = updater();
    struct Case {
        const char* file;
        bool silent;
        const char* expect;  // state after the answer
    } cases[] = {
        {"newer.json", false, "available"}, {"same.json", false, "uptodate"},
        {"older.json", false, "uptodate"},  {"pre.json", false, "uptodate"},
        {"build.json", false, "available"}, {"missing.json", false, "uptodate"},
        {"array.json", false, "failed"},    {"newer.json", true, "available"},
        {"same.json", true, "available"},   {"array.json", true, "available"},
    };
    for (const auto& c : cases) {
        store->set("org.vistrel.viewer.updateURL", server->url(c.file));
        EXPECT_EQ(u->configuredFeedURL(), server->url(c.file));
        int changes = 0;
        u->onStateChanged = [&] { ++changes; };
        u->checkForUpdates(c.silent);
        // A silent check that changes nothing leaves no trace but the stored time.
        queue.pumpUntil([&] { return changes >= (c.silent ? 1 : 2); }, c.silent ? 1.5 : 20);
        const std::string kind =
            std::holds_alternative<VistrelUpdater::UpdateAvailable>(u->state()) ? "available"
            : std::holds_alternative<VistrelUpdater::UpToDate>(u->state())      ? "uptodate"
            : std::holds_alternative<VistrelUpdater::Failed>(u->state())        ? "failed"
                                                                                : "other";
        EXPECT_EQ(kind, c.expect) << c.file << (c.silent ? " silent" : "");
    }
    EXPECT_EQ(u->availableRelease()->version, "2.0.0");
    const auto stamp = store->storedValue("org.vistrel.viewer.lastUpdateCheckTimestamp");
    ASSERT_TRUE(stamp);
    EXPECT_GT(stamp->get<double>(), 1.7e9);

    // The environment wins over the stored address when valid, and only then.
    setenv("VISTREL_UPDATE_URL", "not an address", 1);
    EXPECT_EQ(u->configuredFeedURL(), server->url("array.json"));
    setenv("VISTREL_UPDATE_URL", "http://127.0.0.1:1/feed", 1);
    EXPECT_EQ(u->configuredFeedURL(), "http://127.0.0.1:1/feed");
    unsetenv("VISTREL_UPDATE_URL");
    store->remove("org.vistrel.viewer.updateURL");
    EXPECT_EQ(u->configuredFeedURL(), "https://api.github.com/repos/o/r/releases/latest");
}

TEST_F(UpdaterFixture, LaunchCheckAtMostDailyAndTimeOut) {
    test::ScopedLanguage english(AppLanguage::en);
    // A listener that never answers.
    const int fd = socket(AF_INET, SOCK_STREAM, 0);
    sockaddr_in address{};
    address.sin_family = AF_INET;
    address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    ASSERT_EQ(bind(fd, reinterpret_cast<sockaddr*>(&address), sizeof address), 0);
    socklen_t size = sizeof address;
    getsockname(fd, reinterpret_cast<sockaddr*>(&address), &size);
    listen(fd, 4);
    store->set("org.vistrel.viewer.updateURL",
               "http://127.0.0.1:" + std::to_string(ntohs(address.sin_port)) + "/feed");

    const double now = double(std::time(nullptr));
    store->set("org.vistrel.viewer.lastUpdateCheckTimestamp", now - 10 * 3600);
    auto recent = updater(true);
    queue.pumpUntil([] { return false; }, 0.3);
    EXPECT_EQ(store->storedValue("org.vistrel.viewer.lastUpdateCheckTimestamp")->get<double>(),
              now - 10 * 3600);
    store->set("org.vistrel.viewer.lastUpdateCheckTimestamp", now - 25 * 3600);
    auto due = updater(true);
    queue.pumpUntil([] { return false; }, 0.3);
    EXPECT_GT(store->storedValue("org.vistrel.viewer.lastUpdateCheckTimestamp")->get<double>(),
              now - 60);

    const auto start = std::chrono::steady_clock::now();
    due->checkForUpdates(false);
    EXPECT_EQ(failure(*due), "The connection to the update server timed out.");
    EXPECT_LT(std::chrono::steady_clock::now() - start, std::chrono::seconds(12));

    // Going away during a stalled download stops it instead of waiting on the server.
    due->downloadAndInstall(ReleaseInfo{
        "2.0", {}, *store->storedValue("org.vistrel.viewer.updateURL"), {}, {}, {}, {}});
    const auto gone = std::chrono::steady_clock::now();
    due.reset();
    EXPECT_LT(std::chrono::steady_clock::now() - gone, std::chrono::seconds(4));
    queue.pumpUntil([] { return false; }, 0.2);  // results of the dead updater are dropped
    close(fd);
}

TEST_F(UpdaterFixture, RefusesBadArchivesAndLeavesNothing) {
    test::ScopedLanguage english(AppLanguage::en);
    const std::string before = readFile(installed / "share/vistrel/version");
    const fs::path staging = root / "staging";
    zipFolder(makeApp(staging / "good", "2.0.0", projectKey).parent_path(), root / "feed/good.zip");
    zipFolder(makeApp(staging / "other", "2.0.0", otherKey).parent_path(), root / "feed/other.zip");
    const fs::path tampered = makeApp(staging / "tampered", "2.0.0", projectKey);
    writeFile(tampered / "bin/vistrel", "#!/bin/sh\necho evil\n");
    zipFolder(tampered.parent_path(), root / "feed/tampered.zip");
    const fs::path unsigned_ = makeApp(staging / "unsigned", "2.0.0", projectKey);
    fs::remove(unsigned_ / AppSignature::fileName);
    zipFolder(unsigned_.parent_path(), root / "feed/unsigned.zip");
    zipRawEntry(root / "feed/noapp.zip", "Vistrel/bin/vistrel", "x");
    zipRawEntry(root / "feed/escape.zip", "Vistrel.app/../../escaped", "x");
    zipRawEntry(root / "feed/absolute.zip", (root / "abs").string(), "x");
    zipRawEntry(root / "feed/link.zip", "Vistrel.app/lib", "", "../../..");
    const std::string good = readFile(root / "feed/good.zip");
    writeFile(root / "feed/truncated.zip", good.substr(0, good.size() / 2));
    const std::string goodHash = AppSignature::sha256Hex(good);
    const std::string team = *AppSignature::keyID(projectKey.publicPEM);

    struct Case {
        const char* zip;
        std::optional<std::string> sha256;
        std::string message;
    } cases[] = {
        {"missing.zip", {}, "Download failed (HTTP 404)."},
        {"good.zip", std::string(64, '0'),
         "SHA-256 checksum mismatch (expected 0000000000…, got " + goodHash.substr(0, 10) + "…)."},
        {"other.zip",
         {},
         "Developer certificate mismatch (" + *AppSignature::keyID(otherKey.publicPEM) + " ≠ " +
             team + ")."},
        {"tampered.zip", {}, "The new version's signature is missing or invalid."},
        {"unsigned.zip", {}, "The new version's signature is missing or invalid."},
        {"noapp.zip", {}, "No .app bundle found in archive."},
        {"escape.zip", {}, "Update archive refused: Vistrel.app/../../escaped"},
        {"absolute.zip", {}, "Update archive refused: " + (root / "abs").string()},
        {"link.zip", {}, "Update archive refused: Vistrel.app/lib -> ../../.."},
        {"truncated.zip", {}, "Update archive refused"},
    };
    for (const auto& c : cases) {
        auto u = updater();
        u->downloadAndInstall(serve(c.zip, c.sha256));
        EXPECT_EQ(failure(*u).substr(0, c.message.size()), c.message) << c.zip;
        EXPECT_TRUE(noTemporaryFiles()) << c.zip;
        EXPECT_FALSE(terminated) << c.zip;
    }
    EXPECT_FALSE(fs::exists(root / "escaped") || fs::exists(root / "abs"));
    EXPECT_EQ(readFile(installed / "share/vistrel/version"), before);
    EXPECT_TRUE(AppSignature::verify(installed));
    EXPECT_FALSE(fs::exists(installed.string() + ".new"));

    // The matching hash in upper case passes on to the signature, then to the script, which
    // swaps the folders, cleans up and relaunches the new program with the same arguments.
    ReleaseInfo release = serve("good.zip", goodHash);
    for (char& ch : *release.sha256) ch = char(std::toupper(ch));
    auto u = updater();
    u->downloadAndInstall(release);
    EXPECT_TRUE(queue.pumpUntil([&] { return terminated; }));
    EXPECT_TRUE(queue.pumpUntil(
        [&] { return readFile(root / "relaunched.txt") == "program\n" && noTemporaryFiles(); }));
    EXPECT_EQ(readFile(installed / "share/vistrel/version"), "2.0.0\n5\n");
    EXPECT_TRUE(AppSignature::verify(installed));
    EXPECT_FALSE(fs::exists(installed.string() + ".new"));
}

TEST_F(UpdaterFixture, SystemCopyPointsToPackageManager) {
    test::ScopedLanguage french(AppLanguage::fr);
    VistrelUpdater::Hooks hooks;
    hooks.postToMain = queue.poster();
    hooks.runningProgram = "/usr/bin/vistrel";
    VistrelUpdater system("Vistrel", "org.vistrel.viewer", "o/r", "1.0", 1, false, hooks);
    EXPECT_TRUE(system.isSystemManaged());
    system.downloadAndInstall(serve("good.zip"));
    EXPECT_EQ(failure(system),
              "Cette copie de Vistrel est installée par le système : ses mises "
              "à jour viennent du gestionnaire de paquets.");
    EXPECT_EQ(system.targetInstallURL().filename(), "Vistrel.app");
    EXPECT_FALSE(updater()->isSystemManaged());
    EXPECT_TRUE(AppSignature::keyID(trustedReleaseKeyPEM)) << "the compiled-in key is usable";
    EXPECT_EQ(updater()->targetInstallURL(), installed);
}

}  // namespace
}  // namespace vistrel

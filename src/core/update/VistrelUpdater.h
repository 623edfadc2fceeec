// Release check, download and installation of a new application folder.
//
// Threads: construction, the actions, `state` and the setters belong to the owner's thread (the
// main thread). Network, unpacking and checks run on detached worker threads; each result comes
// back through `Hooks::postToMain` before it touches `state`. A result that arrives after the
// updater is gone is dropped. Two checks may overlap: the later result wins. Destruction stops
// a download in flight and waits for its worker to unwind.
#pragma once

#include <sys/types.h>

#include <filesystem>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <variant>
#include <vector>

#include "update/ReleaseInfo.h"

namespace vistrel {

class SettingsStore;

class VistrelUpdater {
  public:
    struct Idle {};
    struct Checking {};
    struct UpToDate {
        std::string version;
    };
    struct UpdateAvailable {
        ReleaseInfo release;
    };
    struct Downloading {
        double fraction = 0;
    };
    struct Installing {};
    struct Failed {
        std::string message;
    };
    using State =
        std::variant<Idle, Checking, UpToDate, UpdateAvailable, Downloading, Installing, Failed>;

    // What the program provides; the test-only fields replace what a real run reads itself.
    struct Hooks {
        // Runs a function later on the owner's thread. Required.
        std::function<void(std::function<void()>)> postToMain;
        // Asked once the swap script runs; the script waits for this process to end.
        std::function<void()> terminate;
        SettingsStore* store = nullptr;  // SettingsStore::standard() when absent
        std::vector<std::string> relaunchArguments;

        // Test only: the key trusted besides the installation's own, the running application
        // folder (else found from /proc/self/exe), the process the script waits for, and where
        // the relaunched program writes.
        std::optional<std::string> trustedKeyPEM;
        std::optional<std::filesystem::path> runningProgram;
        std::optional<pid_t> waitForProcess;
        std::string relaunchOutput = "/dev/null";
    };

    VistrelUpdater(std::string appName, std::string bundleID, std::string githubRepo,
                   std::optional<std::string> currentVersion, std::optional<int> currentBuild,
                   bool startAutoCheck, Hooks hooks);
    ~VistrelUpdater();
    VistrelUpdater(const VistrelUpdater&) = delete;
    VistrelUpdater& operator=(const VistrelUpdater&) = delete;

    const std::string appName, bundleID, githubRepo;
    const std::string currentVersion;
    const int currentBuild;
    const std::string defaultsPrefix;

    const State& state() const { return state_; }
    std::optional<ReleaseInfo> availableRelease() const;
    // Called on the owner's thread after every change of `state`.
    std::function<void()> onStateChanged;

    bool autoCheckOnLaunch() const;
    void setAutoCheckOnLaunch(bool enabled);

    std::string configuredFeedURL() const;
    void checkForUpdates(bool silent);
    void downloadAndInstall(const ReleaseInfo& release);

    // True when the running program sits where this user cannot write (a distribution package):
    // updates then come from the system's package manager, and downloadAndInstall refuses.
    bool isSystemManaged() const;
    static std::string systemManagedMessage();

    // The application folder holding the running program ("<folder>.app/bin/<program>"), if any.
    std::optional<std::filesystem::path> runningAppFolder() const;
    std::filesystem::path targetInstallURL() const;

    static ReleaseInfo parseRelease(const std::string& bytes, const std::string& bundleID,
                                    const std::string& appName);
    static std::vector<int> normalizeVersion(const std::string& text);
    static bool isNewer(const std::string& candidateVersion, std::optional<int> candidateBuild,
                        const std::string& version, std::optional<int> build);
    static std::optional<std::filesystem::path> findAppBundle(const std::filesystem::path& folder,
                                                              const std::string& preferredName);
    // The lines of the swap script, joined by "\n".
    std::string swapScript(const std::filesystem::path& newApp,
                           const std::filesystem::path& destination) const;

  private:
    struct Life;
    void setState(State state);
    void post(std::function<void(VistrelUpdater&)> action) const;
    static void post(const std::shared_ptr<Life>& life, VistrelUpdater* self,
                     std::function<void(VistrelUpdater&)> action);
    // Steps after the download, on the worker; throws UpdateError.
    void install(const ReleaseInfo& release, const std::string& data) const;
    void verifyCodeSignature(const std::filesystem::path& newApp) const;
    void launchSwapAndRestartScript(const std::filesystem::path& newApp,
                                    const std::filesystem::path& destination) const;
    SettingsStore& store() const;

    Hooks hooks_;
    State state_;
    std::shared_ptr<Life> life_;
};

}  // namespace vistrel

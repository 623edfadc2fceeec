#include "update/VistrelUpdater.h"

#include <fcntl.h>
#include <signal.h>
#include <spawn.h>
#include <unistd.h>

#include <atomic>
#include <cctype>
#include <charconv>
#include <chrono>
#include <condition_variable>
#include <cstdlib>
#include <fstream>
#include <mutex>
#include <thread>

#include <nlohmann/json.hpp>

#include "BuildInfo.h"
#include "settings/Localization.h"
#include "settings/SettingsStore.h"
#include "update/AppSignature.h"
#include "update/HTTPFetch.h"
#include "update/TrustedReleaseKey.h"
#include "update/UpdateError.h"
#include "update/ZipUnpacker.h"

extern char** environ;

namespace vistrel {

namespace fs = std::filesystem;
using nlohmann::json;

// Shared with the workers. `alive` is read and written on the owner's thread only; a download
// in flight is counted so that the destructor can stop it and wait for it.
struct VistrelUpdater::Life {
    std::function<void(std::function<void()>)> postToMain;
    bool alive = true;
    std::atomic<bool> cancelled{false};
    std::mutex mutex;
    std::condition_variable finished;
    int downloads = 0;
};

namespace {

constexpr const char* githubAPIHost = "https://api.github.com";
constexpr double feedTimeoutSeconds = 8.0;

std::string trimmed(const std::string& text) {
    const char* space = " \t\n\r\v\f";
    const size_t begin = text.find_first_not_of(space);
    if (begin == std::string::npos) return {};
    return text.substr(begin, text.find_last_not_of(space) - begin + 1);
}

std::string withoutV(const std::string& text) {
    return !text.empty() && (text[0] == 'v' || text[0] == 'V') ? text.substr(1) : text;
}

std::string lower(std::string text) {
    for (char& c : text)
        if (c >= 'A' && c <= 'Z') c = char(c - 'A' + 'a');
    return text;
}

std::optional<int> integer(const std::string& text) {
    int value = 0;
    const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), value);
    if (error != std::errc() || end != text.data() + text.size() || text.empty())
        return std::nullopt;
    return value;
}

std::vector<std::string> pieces(const std::string& text, char separator) {
    std::vector<std::string> parts;
    size_t start = 0;
    while (start <= text.size()) {
        size_t end = text.find(separator, start);
        if (end == std::string::npos) end = text.size();
        if (end > start) parts.push_back(text.substr(start, end - start));
        start = end + 1;
    }
    return parts;
}

std::optional<std::string> text(const json& object, const char* key) {
    const auto it = object.find(key);
    if (it == object.end() || !it->is_string()) return std::nullopt;
    return it->get<std::string>();
}

std::optional<std::string> address(const json& object, const char* key) {
    auto value = text(object, key);
    return value && HTTPFetch::isValidURL(*value) ? value : std::nullopt;
}

UpdateError invalidResponse() {
    return {UpdateError::invalidResponse,
            L("Réponse JSON de mise à jour invalide.", "Invalid update JSON response.")};
}

UpdateError incompleteManifest() {
    return {UpdateError::incompleteManifest,
            L("Manifeste de mise à jour incomplet.", "Incomplete update manifest.")};
}

ReleaseInfo parseManifestDictionary(const json& manifest) {
    ReleaseInfo release;
    const auto version = text(manifest, "version");
    auto url = text(manifest, "url");
    if (!url) url = text(manifest, "download_url");
    if (!version || !url || !HTTPFetch::isValidURL(*url)) throw incompleteManifest();
    release.version = withoutV(*version);
    release.downloadURL = *url;
    if (const auto it = manifest.find("build"); it != manifest.end()) {
        if (it->is_number_integer())
            release.build = it->get<int>();
        else if (it->is_string())
            release.build = integer(it->get<std::string>());
    }
    if (auto sha = text(manifest, "sha256"); sha && !trimmed(*sha).empty())
        release.sha256 = trimmed(*sha);
    const auto notes = text(manifest, "notes");
    release.notesFR = text(manifest, "notes_fr");
    if (!release.notesFR) release.notesFR = notes;
    release.notesEN = text(manifest, "notes_en");
    if (!release.notesEN) release.notesEN = notes;
    release.htmlURL = address(manifest, "html_url");
    return release;
}

std::string quoted(const std::string& argument) {
    std::string out = "'";
    for (char c : argument) out += c == '\'' ? std::string("'\\''") : std::string(1, c);
    return out + "'";
}

// "sha256", then ':' or '=' between optional spaces, then 64 hexadecimal digits, in any case.
std::optional<std::string> sha256InNotes(const std::string& notes) {
    const std::string text = lower(notes);
    auto isSpace = [](char c) { return std::isspace(static_cast<unsigned char>(c)) != 0; };
    for (size_t at = text.find("sha256"); at != std::string::npos;
         at = text.find("sha256", at + 1)) {
        size_t i = at + 6;
        while (i < text.size() && isSpace(text[i])) ++i;
        if (i == text.size() || (text[i] != ':' && text[i] != '=')) continue;
        ++i;
        while (i < text.size() && isSpace(text[i])) ++i;
        if (text.size() - i < 64) continue;
        const std::string digits = text.substr(i, 64);
        if (digits.find_first_not_of("0123456789abcdef") == std::string::npos) return digits;
    }
    return std::nullopt;
}

}  // namespace

VistrelUpdater::VistrelUpdater(std::string appName_, std::string bundleID_, std::string githubRepo_,
                               std::optional<std::string> currentVersion_,
                               std::optional<int> currentBuild_, bool startAutoCheck, Hooks hooks)
    : appName(std::move(appName_)),
      bundleID(std::move(bundleID_)),
      githubRepo(std::move(githubRepo_)),
      currentVersion(currentVersion_ ? *currentVersion_ : "1.0.0"),
      currentBuild(currentBuild_ ? *currentBuild_ : 1),
      defaultsPrefix(bundleID + "."),
      hooks_(std::move(hooks)),
      life_(std::make_shared<Life>()) {
    life_->postToMain = hooks_.postToMain;
    if (!startAutoCheck || !autoCheckOnLaunch()) return;
    const auto stored = store().storedValue(defaultsPrefix + "lastUpdateCheckTimestamp");
    const double last = stored && stored->is_number() ? stored->get<double>() : 0;
    const double now =
        std::chrono::duration<double>(std::chrono::system_clock::now().time_since_epoch()).count();
    // At most one automatic check a day, at a launch; there is no timer.
    if (now - last >= 86400) post([](VistrelUpdater& self) { self.checkForUpdates(true); });
}

VistrelUpdater::~VistrelUpdater() {
    life_->alive = false;
    // A download reads this updater's settings: stop it and let it unwind first.
    life_->cancelled = true;
    std::unique_lock lock(life_->mutex);
    life_->finished.wait(lock, [this] { return life_->downloads == 0; });
}

SettingsStore& VistrelUpdater::store() const {
    return hooks_.store ? *hooks_.store : SettingsStore::standard();
}

void VistrelUpdater::post(std::function<void(VistrelUpdater&)> action) const {
    post(life_, const_cast<VistrelUpdater*>(this), std::move(action));
}

void VistrelUpdater::post(const std::shared_ptr<Life>& life, VistrelUpdater* self,
                          std::function<void(VistrelUpdater&)> action) {
    life->postToMain([life, self, action = std::move(action)] {
        if (life->alive) action(*self);
    });
}

void VistrelUpdater::setState(State state) {
    state_ = std::move(state);
    if (onStateChanged) onStateChanged();
}

std::optional<ReleaseInfo> VistrelUpdater::availableRelease() const {
    if (const auto* available = std::get_if<UpdateAvailable>(&state_)) return available->release;
    return std::nullopt;
}

bool VistrelUpdater::autoCheckOnLaunch() const {
    const auto stored = store().storedValue(defaultsPrefix + "autoCheckUpdates");
    return !stored || !stored->is_boolean() || stored->get<bool>();
}

void VistrelUpdater::setAutoCheckOnLaunch(bool enabled) {
    store().set(defaultsPrefix + "autoCheckUpdates", enabled);
}

std::string VistrelUpdater::configuredFeedURL() const {
    if (const char* env = std::getenv("VISTREL_UPDATE_URL"); env && HTTPFetch::isValidURL(env))
        return env;
    if (const auto stored = store().storedValue(defaultsPrefix + "updateURL");
        stored && stored->is_string() && HTTPFetch::isValidURL(stored->get<std::string>()))
        return stored->get<std::string>();
    if (HTTPFetch::isValidURL(buildinfo::kUpdateFeedURL)) return buildinfo::kUpdateFeedURL;
    const std::string github =
        std::string(githubAPIHost) + "/repos/" + githubRepo + "/releases/latest";
    if (!HTTPFetch::isValidURL(github)) std::abort();
    return github;
}

void VistrelUpdater::checkForUpdates(bool silent) {
    if (!silent) setState(Checking{});
    const std::string url = configuredFeedURL();
    // Stored before the answer, so a failed check also counts.
    store().set(
        defaultsPrefix + "lastUpdateCheckTimestamp",
        std::chrono::duration<double>(std::chrono::system_clock::now().time_since_epoch()).count());
    const std::vector<std::string> headers = {
        "Accept: application/vnd.github+json, application/json",
        "User-Agent: " + appName + "/" + currentVersion, "Cache-Control: no-cache"};
    // The worker reaches the updater only through post, which drops results once it is gone.
    std::thread([life = life_, self = this, url, headers, silent, bundleID = bundleID,
                 appName = appName, version = currentVersion, build = currentBuild] {
        auto post = [&](std::function<void(VistrelUpdater&)> action) {
            VistrelUpdater::post(life, self, std::move(action));
        };
        try {
            const auto response = HTTPFetch::get(url, headers, feedTimeoutSeconds);
            if (response.status == 404) {
                // A repository without a release.
                post([silent](VistrelUpdater& self) {
                    if (!silent) self.setState(UpToDate{self.currentVersion});
                });
                return;
            }
            const ReleaseInfo release = parseRelease(response.body, bundleID, appName);
            const bool newer = isNewer(release.version, release.build, version, build);
            post([silent, newer, release](VistrelUpdater& self) {
                if (newer)
                    self.setState(UpdateAvailable{release});
                else if (!silent)
                    self.setState(UpToDate{self.currentVersion});
            });
        } catch (const std::exception& error) {
            post([silent, message = std::string(error.what())](VistrelUpdater& self) {
                if (!silent) self.setState(Failed{message});
            });
        }
    }).detach();
}

ReleaseInfo VistrelUpdater::parseRelease(const std::string& bytes, const std::string& bundleID,
                                         const std::string& appName) {
    const json root = json::parse(bytes);
    if (!root.is_object()) throw invalidResponse();
    for (const std::string& key : {bundleID, appName})
        if (const auto it = root.find(key); it != root.end() && it->is_object())
            return parseManifestDictionary(*it);
    if (root.contains("version") && root.contains("download_url"))
        return parseManifestDictionary(root);

    const auto tag = text(root, "tag_name");
    if (!tag) throw invalidResponse();
    ReleaseInfo release;
    release.version = withoutV(*tag);
    const auto body = text(root, "body");
    release.htmlURL = address(root, "html_url");
    const json* chosen = nullptr;
    if (const auto assets = root.find("assets"); assets != root.end() && assets->is_array()) {
        const std::string name = lower(appName);
        const json* anyZip = nullptr;
        for (const json& asset : *assets) {
            const auto assetName = asset.is_object() ? text(asset, "name") : std::nullopt;
            if (!assetName || !lower(*assetName).ends_with(".zip")) continue;
            if (!anyZip) anyZip = &asset;
            if (lower(*assetName).find(name) != std::string::npos) {
                chosen = &asset;
                break;
            }
        }
        if (!chosen) chosen = anyZip;
    }
    const auto download = chosen ? address(*chosen, "browser_download_url") : std::nullopt;
    if (!download)
        throw UpdateError(UpdateError::noArchive, L("Aucune archive .zip de mise à jour trouvée.",
                                                    "No update .zip archive found."));
    release.downloadURL = *download;
    if (body) release.sha256 = sha256InNotes(*body);
    release.notesFR = body;
    release.notesEN = body;
    return release;
}

std::vector<int> VistrelUpdater::normalizeVersion(const std::string& text) {
    const auto main = pieces(withoutV(trimmed(text)), '-');
    std::vector<int> numbers;
    if (main.empty()) return numbers;
    for (const auto& piece : pieces(main.front(), '.'))
        numbers.push_back(integer(piece).value_or(0));
    return numbers;
}

bool VistrelUpdater::isNewer(const std::string& candidateVersion, std::optional<int> candidateBuild,
                             const std::string& version, std::optional<int> build) {
    const auto a = normalizeVersion(candidateVersion), b = normalizeVersion(version);
    for (size_t i = 0; i < std::max(a.size(), b.size()); ++i) {
        const int x = i < a.size() ? a[i] : 0, y = i < b.size() ? b[i] : 0;
        if (x != y) return x > y;
    }
    return candidateBuild && build && *candidateBuild > *build;
}

std::optional<fs::path> VistrelUpdater::runningAppFolder() const {
    std::error_code error;
    const fs::path program =
        hooks_.runningProgram ? *hooks_.runningProgram : fs::read_symlink("/proc/self/exe", error);
    if (error) return std::nullopt;
    const fs::path folder = program.parent_path().parent_path();
    if (program.parent_path().filename() == "bin" && folder.extension() == ".app") return folder;
    return std::nullopt;
}

fs::path VistrelUpdater::targetInstallURL() const {
    if (auto folder = runningAppFolder()) return *folder;
    const char* home = std::getenv("HOME");
    return fs::path(home && *home ? home : "/tmp") / ".local/opt" / (appName + ".app");
}

bool VistrelUpdater::isSystemManaged() const {
    std::error_code error;
    const fs::path program =
        hooks_.runningProgram ? *hooks_.runningProgram : fs::read_symlink("/proc/self/exe", error);
    if (error) return false;
    const auto folder = runningAppFolder();
    // A copy the user cannot replace, or one a distribution package put under /usr (even for
    // root), is updated by the package manager.
    const fs::path place = folder ? folder->parent_path() : program.parent_path();
    const std::string path = place.lexically_normal().generic_string() + "/";
    if (path.starts_with("/usr/") && !path.starts_with("/usr/local/")) return true;
    return access(place.c_str(), W_OK) != 0;
}

std::string VistrelUpdater::systemManagedMessage() {
    return L(
        "Cette copie de Vistrel est installée par le système : ses mises à jour viennent du "
        "gestionnaire de paquets.",
        "This copy of Vistrel is installed by the system: its updates come from the package "
        "manager.");
}

void VistrelUpdater::downloadAndInstall(const ReleaseInfo& release) {
    if (isSystemManaged()) {
        setState(Failed{systemManagedMessage()});
        return;
    }
    setState(Downloading{0.1});
    const std::vector<std::string> headers = {"User-Agent: " + appName + "/" + currentVersion,
                                              "Accept: application/octet-stream"};
    {
        std::lock_guard lock(life_->mutex);
        ++life_->downloads;
    }
    std::thread([this, life = life_, release, headers] {
        struct Done {
            Life& life;
            ~Done() {
                std::lock_guard lock(life.mutex);
                --life.downloads;
                life.finished.notify_all();
            }
        } done{*life};
        try {
            double shown = 0.1;
            const auto response =
                HTTPFetch::get(release.downloadURL, headers, 0, [&](double fraction) {
                    const double value = 0.1 + 0.65 * fraction;
                    if (life->cancelled) return false;
                    if (value - shown < 0.01) return true;
                    shown = value;
                    post([value](VistrelUpdater& self) { self.setState(Downloading{value}); });
                    return true;
                });
            if (response.status < 200 || response.status >= 300)
                throw UpdateError(UpdateError::transferFailed,
                                  L("Téléchargement impossible (HTTP ", "Download failed (HTTP ") +
                                      std::to_string(response.status) + ").");
            post([](VistrelUpdater& self) { self.setState(Downloading{0.75}); });
            const std::string expected = lower(release.sha256.value_or(""));
            if (!expected.empty()) {
                const std::string actual = AppSignature::sha256Hex(response.body);
                if (actual != expected)
                    throw UpdateError(UpdateError::checksumMismatch,
                                      L("Empreinte SHA-256 invalide (attendu ",
                                        "SHA-256 checksum mismatch (expected ") +
                                          expected.substr(0, 10) + L("…, reçu ", "…, got ") +
                                          actual.substr(0, 10) + "…).");
            }
            post([](VistrelUpdater& self) { self.setState(Installing{}); });
            if (life->cancelled) return;
            install(release, response.body);
            post([](VistrelUpdater& self) {
                if (self.hooks_.terminate) self.hooks_.terminate();
            });
        } catch (const std::exception& error) {
            post([message = std::string(error.what())](VistrelUpdater& self) {
                self.setState(Failed{message});
            });
        }
    }).detach();
}

void VistrelUpdater::install(const ReleaseInfo&, const std::string& data) const {
    std::string pattern = (fs::temp_directory_path() / "VistrelUpdater-XXXXXX").string();
    if (!mkdtemp(pattern.data()))
        throw UpdateError(errno, L("Dossier temporaire impossible à créer.",
                                   "Could not create a temporary folder."));
    const fs::path folder = pattern;
    try {
        const fs::path zip = folder / (appName + ".zip");
        {
            std::ofstream out(zip, std::ios::binary);
            out.write(data.data(), std::streamsize(data.size()));
            if (!out.flush())
                throw UpdateError(UpdateError::badArchive, L("Écriture de l'archive impossible.",
                                                             "Could not write the archive."));
        }
        const fs::path extracted = folder / "extracted";
        ZipUnpacker::unpack(zip, extracted);
        const auto newApp = findAppBundle(extracted, appName + ".app");
        if (!newApp)
            throw UpdateError(
                UpdateError::noAppFolder,
                L("Aucun bundle .app trouvé dans l'archive.", "No .app bundle found in archive."));
        verifyCodeSignature(*newApp);
        launchSwapAndRestartScript(*newApp, targetInstallURL());
    } catch (...) {
        // Nothing half-done stays behind; the installed program was never touched.
        std::error_code ignored;
        fs::remove_all(folder, ignored);
        throw;
    }
}

std::optional<fs::path> VistrelUpdater::findAppBundle(const fs::path& folder,
                                                      const std::string& preferredName) {
    std::error_code error;
    std::optional<fs::path> firstApp;
    for (fs::directory_iterator it(folder, error), end; !error && it != end; it.increment(error)) {
        const fs::path& path = it->path();
        if (path.filename() == preferredName) return path;
        if (!firstApp && path.extension() == ".app") firstApp = path;
    }
    if (error) return std::nullopt;
    return firstApp;
}

void VistrelUpdater::verifyCodeSignature(const fs::path& newApp) const {
    if (!AppSignature::verify(newApp))
        throw UpdateError(UpdateError::badSignature,
                          L("Signature de la nouvelle version absente ou invalide.",
                            "The new version's signature is missing or invalid."));
    // A signed installation pins its own key; any other copy trusts the project's key.
    std::optional<std::string> current;
    if (const auto folder = runningAppFolder()) {
        current = AppSignature::teamIdentifier(*folder);
        if (current && (current->empty() || *current == AppSignature::notSet)) current.reset();
    }
    if (!current)
        current = AppSignature::keyID(hooks_.trustedKeyPEM ? *hooks_.trustedKeyPEM
                                                           : std::string(trustedReleaseKeyPEM));
    const auto team = AppSignature::teamIdentifier(newApp);
    if (team && current && *team == *current) return;
    const std::string shown =
        team && *team != AppSignature::notSet ? *team : L("inconnu", "unknown");
    throw UpdateError(UpdateError::signerMismatch,
                      L("Certificat développeur différent (", "Developer certificate mismatch (") +
                          shown + " ≠ " + current.value_or("?") + ").");
}

std::string VistrelUpdater::swapScript(const fs::path& newApp, const fs::path& destination) const {
    const pid_t pid = hooks_.waitForProcess ? *hooks_.waitForProcess : getpid();
    const std::string dest = destination.string(), next = dest + ".new";
    const std::string temporary = newApp.parent_path().parent_path().string();
    std::error_code error;
    const fs::path self =
        hooks_.runningProgram ? *hooks_.runningProgram : fs::read_symlink("/proc/self/exe", error);
    const std::string program = self.filename().empty() ? "vistrel" : self.filename().string();
    std::string relaunch = "\"" + dest + "/bin/" + program + "\"";
    for (const auto& argument : hooks_.relaunchArguments) relaunch += " " + quoted(argument);
    const std::vector<std::string> lines = {
        "while kill -0 " + std::to_string(pid) + " 2>/dev/null; do sleep 0.1; done",
        "mkdir -p \"" + destination.parent_path().string() + "\"",
        "rm -rf \"" + next + "\"",
        // The old copy goes only once a full new one stands beside it.
        "cp -a \"" + newApp.string() + "\" \"" + next + "\" && rm -rf \"" + dest + "\" && mv \"" +
            next + "\" \"" + dest + "\"",
        "rm -rf \"" + temporary + "\"",
        relaunch + " >" + quoted(hooks_.relaunchOutput) + " 2>&1 </dev/null &",
    };
    std::string script;
    for (const auto& line : lines) script += (script.empty() ? "" : "\n") + line;
    return script;
}

void VistrelUpdater::launchSwapAndRestartScript(const fs::path& newApp,
                                                const fs::path& destination) const {
    const std::string script = swapScript(newApp, destination);
    posix_spawn_file_actions_t actions;
    posix_spawnattr_t attributes;
    posix_spawn_file_actions_init(&actions);
    posix_spawnattr_init(&attributes);
    for (int fd : {0, 1, 2}) posix_spawn_file_actions_addopen(&actions, fd, "/dev/null", O_RDWR, 0);
    // Its own session, so the script outlives the application and its terminal.
    posix_spawnattr_setflags(&attributes, POSIX_SPAWN_SETSID);
    const char* arguments[] = {"sh", "-c", script.c_str(), nullptr};
    pid_t child = 0;
    const int status = posix_spawn(&child, "/bin/sh", &actions, &attributes,
                                   const_cast<char* const*>(arguments), environ);
    posix_spawn_file_actions_destroy(&actions);
    posix_spawnattr_destroy(&attributes);
    if (status != 0)
        throw UpdateError(status, L("Échec de la commande ", "Command ") + "sh" + L("", " failed"));
}

}  // namespace vistrel

// Per-user settings: one JSON object in a file, with registered defaults underneath.
//
// set() and remove() change memory at once and leave the disk to one background writer, which
// gathers a burst (a dragged slider) into one write a short delay later, so no caller waits for
// the disk. A write takes an flock on "<file>.lock", reads the file as it is now and lays over
// it only the keys this store changed, so several running copies keep each other's settings;
// it then goes through a temporary file and a rename, so a crash never leaves half a file.
// A file that cannot be parsed never stops the program: the store starts from the defaults and
// the bad file is moved aside (settings.json.corrupt-<time>). All members are thread-safe.
#pragma once

#include <chrono>
#include <condition_variable>
#include <cstdint>
#include <filesystem>
#include <map>
#include <mutex>
#include <optional>
#include <string>
#include <thread>

#include <nlohmann/json.hpp>

namespace vistrel {

class SettingsStore {
  public:
    static constexpr std::chrono::milliseconds defaultWriteDelay{250};

    // Reads `file` if it exists. Errors reading it are not fatal (see above). Changes reach
    // the disk `writeDelay` after the first of a burst.
    explicit SettingsStore(std::filesystem::path file,
                           std::chrono::milliseconds writeDelay = defaultWriteDelay);
    // Flushes what is still pending.
    ~SettingsStore();
    SettingsStore(const SettingsStore&) = delete;
    SettingsStore& operator=(const SettingsStore&) = delete;

    // The process-wide store: $XDG_CONFIG_HOME/vistrel/settings.json, else ~/.config/vistrel/.
    // VISTREL_SETTINGS_FILE overrides the path (tests, several instances side by side).
    static SettingsStore& standard();
    static std::filesystem::path standardPath();

    // Defaults answer reads of keys the file does not hold. Registering again merges.
    void registerDefaults(const nlohmann::json& defaults);

    // True when the file itself holds the key (defaults do not count).
    bool contains(const std::string& key) const;
    // The stored value, else the registered default, else nothing.
    std::optional<nlohmann::json> value(const std::string& key) const;
    // Only the stored value.
    std::optional<nlohmann::json> storedValue(const std::string& key) const;

    // Change memory at once; the disk follows on the writer.
    void set(const std::string& key, nlohmann::json value);
    void remove(const std::string& key);

    // Writes pending changes now, on the caller's thread. False when the file could not be
    // written; the changes stay pending for the next try and in memory either way.
    bool flush();
    // How many times the file has been written (each a lock, a merge and a rename).
    int writeCount() const;

    const std::filesystem::path& path() const { return path_; }
    // Where a corrupt file was moved at start, if it was.
    std::optional<std::filesystem::path> quarantinedFile() const;

  private:
    // A key this store changed since its last write: the new value, or nothing for a removal.
    using Changes = std::map<std::string, std::optional<nlohmann::json>>;
    void markChanged(const std::string& key, std::optional<nlohmann::json> value);
    bool writeChanges(const Changes& changes);
    void runWriter();

    std::filesystem::path path_;
    std::chrono::milliseconds writeDelay_;
    mutable std::mutex mutex_;
    std::condition_variable wake_;
    nlohmann::json stored_ = nlohmann::json::object();
    nlohmann::json defaults_ = nlohmann::json::object();
    std::optional<std::filesystem::path> quarantined_;
    Changes pending_;
    int writes_ = 0;
    uint64_t changeCount_ = 0;
    bool stopping_ = false;
    std::mutex writeMutex_;  // one write at a time, in the order the changes were taken
    std::thread writer_;
};

}  // namespace vistrel

// Per-user settings: one JSON object in a file, with registered defaults underneath.
//
// Every write goes to disk at once through a temporary file and a rename, so a crash never
// leaves half a file. A file that cannot be parsed never stops the program: the store starts
// from the defaults and the bad file is moved aside (settings.json.corrupt-<time>) so nothing
// the user had is lost. All members are safe to call from several threads.
#pragma once

#include <filesystem>
#include <mutex>
#include <optional>
#include <string>

#include <nlohmann/json.hpp>

namespace vistrel {

class SettingsStore {
  public:
    // Reads `file` if it exists. Errors reading it are not fatal (see above).
    explicit SettingsStore(std::filesystem::path file);

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

    // Write-through; returns false when the file could not be written (the value is kept in
    // memory either way, so the running program behaves the same).
    bool set(const std::string& key, nlohmann::json value);
    bool remove(const std::string& key);

    const std::filesystem::path& path() const { return path_; }
    // Where a corrupt file was moved at start, if it was.
    std::optional<std::filesystem::path> quarantinedFile() const;

  private:
    bool writeLocked();
    std::filesystem::path path_;
    mutable std::mutex mutex_;
    nlohmann::json stored_ = nlohmann::json::object();
    nlohmann::json defaults_ = nlohmann::json::object();
    std::optional<std::filesystem::path> quarantined_;
};

}  // namespace vistrel

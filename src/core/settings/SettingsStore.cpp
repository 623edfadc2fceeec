#include "settings/SettingsStore.h"

#include <fcntl.h>
#include <unistd.h>

#include <chrono>
#include <cstdlib>
#include <fstream>
#include <sstream>

namespace vistrel {

namespace fs = std::filesystem;

SettingsStore::SettingsStore(fs::path file) : path_(std::move(file)) {
    std::error_code ec;
    if (!fs::exists(path_, ec)) return;
    std::ifstream in(path_, std::ios::binary);
    std::stringstream buffer;
    if (in) buffer << in.rdbuf();
    nlohmann::json parsed =
        nlohmann::json::parse(buffer.str(), nullptr, /*allow_exceptions=*/false);
    if (in && !parsed.is_discarded() && parsed.is_object()) {
        stored_ = std::move(parsed);
        return;
    }
    // Unreadable or not an object: keep it aside under another name, start from defaults.
    auto stamp = std::chrono::duration_cast<std::chrono::seconds>(
                     std::chrono::system_clock::now().time_since_epoch())
                     .count();
    fs::path aside = path_;
    aside += ".corrupt-" + std::to_string(stamp);
    fs::rename(path_, aside, ec);
    if (!ec) quarantined_ = aside;
}

fs::path SettingsStore::standardPath() {
    if (const char* p = std::getenv("VISTREL_SETTINGS_FILE"); p && *p) return p;
    fs::path base;
    if (const char* x = std::getenv("XDG_CONFIG_HOME"); x && *x && fs::path(x).is_absolute())
        base = x;
    else if (const char* h = std::getenv("HOME"); h && *h)
        base = fs::path(h) / ".config";
    else
        base = fs::temp_directory_path();
    return base / "vistrel" / "settings.json";
}

SettingsStore& SettingsStore::standard() {
    static SettingsStore store(standardPath());
    return store;
}

void SettingsStore::registerDefaults(const nlohmann::json& defaults) {
    std::lock_guard lock(mutex_);
    for (auto it = defaults.begin(); it != defaults.end(); ++it) defaults_[it.key()] = it.value();
}

bool SettingsStore::contains(const std::string& key) const {
    std::lock_guard lock(mutex_);
    return stored_.contains(key);
}

std::optional<nlohmann::json> SettingsStore::value(const std::string& key) const {
    std::lock_guard lock(mutex_);
    if (auto it = stored_.find(key); it != stored_.end()) return *it;
    if (auto it = defaults_.find(key); it != defaults_.end()) return *it;
    return std::nullopt;
}

std::optional<nlohmann::json> SettingsStore::storedValue(const std::string& key) const {
    std::lock_guard lock(mutex_);
    if (auto it = stored_.find(key); it != stored_.end()) return *it;
    return std::nullopt;
}

bool SettingsStore::set(const std::string& key, nlohmann::json value) {
    std::lock_guard lock(mutex_);
    stored_[key] = std::move(value);
    return writeLocked();
}

bool SettingsStore::remove(const std::string& key) {
    std::lock_guard lock(mutex_);
    if (stored_.erase(key) == 0) return true;
    return writeLocked();
}

std::optional<fs::path> SettingsStore::quarantinedFile() const {
    std::lock_guard lock(mutex_);
    return quarantined_;
}

bool SettingsStore::writeLocked() {
    std::error_code ec;
    fs::create_directories(path_.parent_path(), ec);
    fs::path tmp = path_;
    tmp += ".tmp-" + std::to_string(::getpid());
    std::string text = stored_.dump(2) + "\n";
    int fd = ::open(tmp.c_str(), O_WRONLY | O_CREAT | O_TRUNC | O_CLOEXEC, 0644);
    if (fd < 0) return false;
    const char* p = text.data();
    size_t left = text.size();
    while (left > 0) {
        ssize_t n = ::write(fd, p, left);
        if (n <= 0) {
            ::close(fd);
            ::unlink(tmp.c_str());
            return false;
        }
        p += n;
        left -= size_t(n);
    }
    // A full disk shows up at fsync or close; the old file stays untouched then.
    if (::fsync(fd) != 0 || ::close(fd) != 0) {
        ::unlink(tmp.c_str());
        return false;
    }
    if (::rename(tmp.c_str(), path_.c_str()) != 0) {
        ::unlink(tmp.c_str());
        return false;
    }
    return true;
}

}  // namespace vistrel

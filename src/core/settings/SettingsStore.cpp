#include "settings/SettingsStore.h"

#include <fcntl.h>
#include <sys/file.h>
#include <unistd.h>

#include <chrono>
#include <cstdlib>
#include <fstream>
#include <sstream>

namespace vistrel {

namespace fs = std::filesystem;

namespace {

std::optional<nlohmann::json> readObject(const fs::path& file) {
    std::ifstream in(file, std::ios::binary);
    if (!in) return std::nullopt;
    std::stringstream buffer;
    buffer << in.rdbuf();
    nlohmann::json parsed =
        nlohmann::json::parse(buffer.str(), nullptr, /*allow_exceptions=*/false);
    if (parsed.is_discarded() || !parsed.is_object()) return std::nullopt;
    return parsed;
}

bool writeAll(int fd, const std::string& text) {
    const char* p = text.data();
    size_t left = text.size();
    while (left > 0) {
        ssize_t n = ::write(fd, p, left);
        if (n <= 0) return false;
        p += n;
        left -= size_t(n);
    }
    return true;
}

}  // namespace

SettingsStore::SettingsStore(fs::path file, std::chrono::milliseconds writeDelay)
    : path_(std::move(file)), writeDelay_(writeDelay) {
    std::error_code ec;
    if (!fs::exists(path_, ec)) return;
    if (auto parsed = readObject(path_)) {
        stored_ = std::move(*parsed);
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

SettingsStore::~SettingsStore() {
    {
        std::lock_guard lock(mutex_);
        stopping_ = true;
    }
    wake_.notify_all();
    if (writer_.joinable()) writer_.join();
    flush();
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

void SettingsStore::set(const std::string& key, nlohmann::json value) {
    markChanged(key, std::move(value));
}

void SettingsStore::remove(const std::string& key) {
    markChanged(key, std::nullopt);
}

void SettingsStore::markChanged(const std::string& key, std::optional<nlohmann::json> value) {
    std::lock_guard lock(mutex_);
    // Recorded even when memory already agrees: the file may hold another copy's value.
    if (value)
        stored_[key] = *value;
    else
        stored_.erase(key);
    pending_[key] = std::move(value);
    ++changeCount_;
    if (!writer_.joinable()) writer_ = std::thread([this] { runWriter(); });
    wake_.notify_all();
}

void SettingsStore::runWriter() {
    std::unique_lock lock(mutex_);
    uint64_t attempted = 0;
    while (true) {
        wake_.wait(lock, [&] { return stopping_ || changeCount_ != attempted; });
        if (stopping_) return;  // the destructor flushes what is left
        // Let the rest of a burst arrive, then write it all at once.
        wake_.wait_for(lock, writeDelay_, [&] { return stopping_; });
        if (stopping_) return;
        attempted = changeCount_;
        lock.unlock();
        flush();  // a failure waits for the next change or for exit to try again
        lock.lock();
    }
}

bool SettingsStore::flush() {
    std::lock_guard order(writeMutex_);
    Changes taken;
    {
        std::lock_guard lock(mutex_);
        taken.swap(pending_);
    }
    if (taken.empty()) return true;
    const bool written = writeChanges(taken);
    std::lock_guard lock(mutex_);
    if (written)
        ++writes_;
    else  // newer changes of the same keys win over the ones that failed
        pending_.merge(taken);
    return written;
}

int SettingsStore::writeCount() const {
    std::lock_guard lock(mutex_);
    return writes_;
}

std::optional<fs::path> SettingsStore::quarantinedFile() const {
    std::lock_guard lock(mutex_);
    return quarantined_;
}

bool SettingsStore::writeChanges(const Changes& changes) {
    std::error_code ec;
    fs::create_directories(path_.parent_path(), ec);
    fs::path lockPath = path_;
    lockPath += ".lock";
    const int lockFd = ::open(lockPath.c_str(), O_RDWR | O_CREAT | O_CLOEXEC, 0600);
    if (lockFd < 0) return false;
    // Held until the rename: another copy's write cannot slip between our read and our write.
    if (::flock(lockFd, LOCK_EX) != 0) {
        ::close(lockFd);
        return false;
    }
    nlohmann::json merged;
    if (auto current = readObject(path_)) {
        merged = std::move(*current);
    } else {
        std::lock_guard lock(mutex_);
        merged = stored_;
    }
    for (const auto& [key, value] : changes) {
        if (value)
            merged[key] = *value;
        else
            merged.erase(key);
    }
    fs::path tmp = path_;
    tmp += ".tmp-" + std::to_string(::getpid());
    const std::string text = merged.dump(2) + "\n";
    bool ok = false;
    if (int fd = ::open(tmp.c_str(), O_WRONLY | O_CREAT | O_TRUNC | O_CLOEXEC, 0644); fd >= 0) {
        // A full disk shows up at fsync or close; the old file stays untouched then.
        ok = writeAll(fd, text) && ::fsync(fd) == 0;
        ok = ::close(fd) == 0 && ok;
        ok = ok && ::rename(tmp.c_str(), path_.c_str()) == 0;
        if (!ok) ::unlink(tmp.c_str());
    }
    ::close(lockFd);
    return ok;
}

}  // namespace vistrel

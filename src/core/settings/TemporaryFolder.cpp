#include "settings/TemporaryFolder.h"

#include <fcntl.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstdlib>
#include <mutex>
#include <system_error>
#include <vector>

namespace vistrel {

namespace fs = std::filesystem;

namespace {

fs::path lockPathFor(const fs::path& root, const std::string& name) {
    return root / (name + ".lock");
}

// Opens and locks `path` without waiting; -1 when it is absent or someone holds it.
int tryLock(const fs::path& path, int flags) {
    const int fd = ::open(path.c_str(), O_RDWR | O_CLOEXEC | O_NOFOLLOW | flags, 0600);
    if (fd < 0) return -1;
    if (::flock(fd, LOCK_EX | LOCK_NB) != 0) {
        ::close(fd);
        return -1;
    }
    return fd;
}

bool sameFile(int fd, const fs::path& path) {
    struct stat held {
    }, named{};
    return ::fstat(fd, &held) == 0 && ::lstat(path.c_str(), &named) == 0 &&
           held.st_dev == named.st_dev && held.st_ino == named.st_ino;
}

}  // namespace

std::optional<fs::path> TemporaryFolder::userFolder() {
    fs::path folder;
    if (const char* runtime = std::getenv("XDG_RUNTIME_DIR");
        runtime && *runtime && fs::path(runtime).is_absolute()) {
        folder = fs::path(runtime) / "vistrel";
    } else {
        std::error_code ec;
        fs::path temp = fs::temp_directory_path(ec);
        if (ec || temp.empty()) temp = "/tmp";
        folder = temp / ("vistrel-" + std::to_string(::getuid()));
    }
    if (!makePrivate(folder)) return std::nullopt;
    return folder;
}

bool TemporaryFolder::makePrivate(const fs::path& folder) {
    if (::mkdir(folder.c_str(), 0700) != 0 && errno != EEXIST) return false;
    // O_NOFOLLOW: a link planted under our name must not lead our files elsewhere.
    const int fd = ::open(folder.c_str(), O_RDONLY | O_DIRECTORY | O_NOFOLLOW | O_CLOEXEC);
    if (fd < 0) return false;
    struct stat st {};
    bool ok = ::fstat(fd, &st) == 0 && S_ISDIR(st.st_mode) && st.st_uid == ::geteuid();
    if (ok && (st.st_mode & 07777) != 0700) ok = ::fchmod(fd, 0700) == 0;
    ::close(fd);
    return ok;
}

std::optional<fs::path> TemporaryFolder::forThisProcess() {
    static std::mutex mutex;
    static std::optional<TemporaryFolder> held;
    std::lock_guard lock(mutex);
    // A temp cleaner or the end of a session may take the folder away under us: claim anew.
    std::error_code ec;
    if (held && !fs::is_directory(held->path(), ec)) held.reset();
    if (!held)
        if (auto root = userFolder()) held = claim(*root, std::to_string(::getpid()));
    if (!held) return std::nullopt;
    return held->path();
}

std::optional<TemporaryFolder> TemporaryFolder::claim(const fs::path& root,
                                                      const std::string& name) {
    const fs::path lockPath = lockPathFor(root, name);
    // A clean-up may unlink the lock file between our open and our lock; then take the new one.
    for (int attempt = 0; attempt < 3; ++attempt) {
        const int fd = tryLock(lockPath, O_CREAT);
        if (fd < 0) return std::nullopt;
        if (!sameFile(fd, lockPath)) {
            ::close(fd);
            continue;
        }
        // Whatever is already there belonged to a dead process of the same name.
        const fs::path folder = root / name;
        std::error_code ec;
        fs::remove_all(folder, ec);
        if (::mkdir(folder.c_str(), 0700) != 0) {
            ::close(fd);
            return std::nullopt;
        }
        return TemporaryFolder(folder, fd);
    }
    return std::nullopt;
}

void TemporaryFolder::removeAbandoned(const fs::path& root) {
    std::error_code ec;
    std::vector<fs::path> entries;
    for (fs::directory_iterator it(root, ec), end; !ec && it != end; it.increment(ec))
        entries.push_back(it->path());
    for (const fs::path& entry : entries) {
        const bool isLockFile = entry.extension() == ".lock";
        const fs::path folder = isLockFile ? fs::path(entry).replace_extension() : entry;
        if (isLockFile && fs::exists(fs::symlink_status(folder, ec))) continue;  // with its folder
        const fs::path lockPath = isLockFile ? entry : lockPathFor(root, entry.filename().string());
        const int fd = tryLock(lockPath, 0);
        if (fd < 0 && fs::exists(fs::symlink_status(lockPath, ec))) continue;  // a running copy's
        fs::remove_all(folder, ec);
        if (fd >= 0) {
            ::unlink(lockPath.c_str());
            ::close(fd);
        }
    }
}

TemporaryFolder::TemporaryFolder(TemporaryFolder&& other) noexcept
    : path_(std::move(other.path_)), lockFd_(other.lockFd_) {
    other.lockFd_ = -1;
}

TemporaryFolder& TemporaryFolder::operator=(TemporaryFolder&& other) noexcept {
    if (this != &other) {
        if (lockFd_ >= 0) ::close(lockFd_);
        path_ = std::move(other.path_);
        lockFd_ = other.lockFd_;
        other.lockFd_ = -1;
    }
    return *this;
}

TemporaryFolder::~TemporaryFolder() {
    if (lockFd_ < 0) return;
    // An empty folder and its lock file go at once; anything left waits for the next clean-up.
    std::error_code ec;
    if (fs::remove(path_, ec))
        ::unlink(lockPathFor(path_.parent_path(), path_.filename().string()).c_str());
    ::close(lockFd_);
}

}  // namespace vistrel

#include "capture/AtomicFile.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <random>
#include <system_error>

namespace vistrel::app::AtomicFile {

namespace fs = std::filesystem;

namespace {

std::string reason(int error) {
    return std::generic_category().message(error);
}

}  // namespace

std::optional<std::string> write(const std::vector<std::uint8_t>& bytes, const fs::path& path) {
    // A fresh name each try; the creation mode lets the umask decide, as for any new file.
    std::random_device random;
    fs::path temporary;
    int fd = -1;
    for (int attempt = 0; attempt < 8 && fd < 0; ++attempt) {
        temporary = path;
        temporary += ".vistrel-" + std::to_string(random());
        fd = ::open(temporary.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC, 0666);
        if (fd < 0 && errno != EEXIST) return reason(errno);
    }
    if (fd < 0) return reason(EEXIST);

    int error = 0;
    // A short write is how a full disk or a file size limit first shows; only an error ends it.
    for (size_t done = 0; done < bytes.size() && error == 0;) {
        ssize_t n = ::write(fd, bytes.data() + done, bytes.size() - done);
        if (n > 0)
            done += size_t(n);
        else if (n < 0 && errno != EINTR)
            error = errno;
        else if (n == 0)
            error = EIO;
    }
    if (struct stat old; error == 0 && ::stat(path.c_str(), &old) == 0)
        ::fchmod(fd, old.st_mode & 07777);
    if (error == 0 && ::fsync(fd) != 0) error = errno;
    if (::close(fd) != 0 && error == 0) error = errno;
    if (error == 0 && ::rename(temporary.c_str(), path.c_str()) != 0) error = errno;
    if (error != 0) {
        ::unlink(temporary.c_str());
        return reason(error);
    }
    return std::nullopt;
}

}  // namespace vistrel::app::AtomicFile

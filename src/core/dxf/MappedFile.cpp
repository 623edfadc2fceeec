#include "dxf/MappedFile.h"

#include <fcntl.h>
#include <sys/mman.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>

#include "model/SKPError.h"

namespace vistrel {

MappedFile::MappedFile(const std::filesystem::path& url) {
    int fd = ::open(url.c_str(), O_RDONLY | O_CLOEXEC);
    if (fd < 0) throw SKPError::unreadable(url);
    struct stat st {};
    if (::fstat(fd, &st) != 0 || !S_ISREG(st.st_mode)) {
        ::close(fd);
        throw SKPError::unreadable(url);
    }
    size_ = size_t(st.st_size);
    if (size_ > 0) {
        void* p = ::mmap(nullptr, size_, PROT_READ, MAP_PRIVATE, fd, 0);
        if (p == MAP_FAILED) {
            ::close(fd);
            throw SKPError::unreadable(url);
        }
        ::madvise(p, size_, MADV_SEQUENTIAL);
        data_ = static_cast<const uint8_t*>(p);
    }
    ::close(fd);
}

MappedFile::~MappedFile() {
    if (data_) ::munmap(const_cast<uint8_t*>(data_), size_);
}

void MappedFile::releaseBefore(size_t offset) const {
    static const size_t page = size_t(::sysconf(_SC_PAGESIZE));
    if (!data_) return;
    size_t end = std::min(offset, size_) / page * page;
    if (end > 0) ::madvise(const_cast<uint8_t*>(data_), end, MADV_DONTNEED);
}

}  // namespace vistrel

#include "dxf/MappedFile.h"

#include <fcntl.h>
#include <signal.h>
#include <sys/mman.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <atomic>
#include <mutex>

#include "model/SKPError.h"

namespace vistrel {

namespace {

// Live mappings, read by the signal handler: lock-free, fixed, filled by compare-and-swap.
struct Slot {
    std::atomic<bool> taken{false};
    std::atomic<uintptr_t> begin{0}, end{0};  // begin 0: not in use yet or any more
    std::atomic<bool> damaged{false};
};
constexpr int slotCount = 64;
Slot slots[slotCount];
struct sigaction previousBusAction {};
uintptr_t pageSize = 4096;

uintptr_t roundUpToPage(uintptr_t v) {
    return (v + pageSize - 1) & ~(pageSize - 1);
}

// A fault inside one of our mappings maps zeros over the rest of it, so that the read goes on;
// anything else goes to whoever handled SIGBUS before us, or to the default action.
void onBusError(int signal, siginfo_t* info, void* context) {
    uintptr_t at = uintptr_t(info->si_addr);
    for (Slot& s : slots) {
        uintptr_t begin = s.begin.load(std::memory_order_acquire);
        uintptr_t end = s.end.load(std::memory_order_acquire);
        if (begin == 0 || at < begin || at >= end) continue;
        uintptr_t page = at & ~(pageSize - 1);
        void* p = ::mmap(reinterpret_cast<void*>(page), end - page, PROT_READ,
                         MAP_PRIVATE | MAP_ANONYMOUS | MAP_FIXED, -1, 0);
        if (p == MAP_FAILED) break;
        s.damaged.store(true, std::memory_order_release);
        return;
    }
    if (previousBusAction.sa_flags & SA_SIGINFO) {
        previousBusAction.sa_sigaction(signal, info, context);
    } else if (previousBusAction.sa_handler != SIG_DFL && previousBusAction.sa_handler != SIG_IGN) {
        previousBusAction.sa_handler(signal);
    } else {
        ::signal(signal, SIG_DFL);  // the faulting access runs again and ends the process
    }
}

void installHandler() {
    static std::once_flag once;
    std::call_once(once, [] {
        pageSize = uintptr_t(::sysconf(_SC_PAGESIZE));
        struct sigaction action {};
        action.sa_sigaction = onBusError;
        action.sa_flags = SA_SIGINFO | SA_ONSTACK | SA_RESTART;
        sigemptyset(&action.sa_mask);
        ::sigaction(SIGBUS, &action, &previousBusAction);
    });
}

int takeSlot(const uint8_t* data, size_t size) {
    for (int i = 0; i < slotCount; ++i) {
        bool expected = false;
        if (!slots[i].taken.compare_exchange_strong(expected, true)) continue;
        slots[i].damaged.store(false);
        slots[i].end.store(roundUpToPage(uintptr_t(data) + size), std::memory_order_release);
        slots[i].begin.store(uintptr_t(data), std::memory_order_release);
        return i;
    }
    return -1;
}

}  // namespace

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
        installHandler();
        void* p = ::mmap(nullptr, size_, PROT_READ, MAP_PRIVATE, fd, 0);
        if (p == MAP_FAILED) {
            ::close(fd);
            throw SKPError::unreadable(url);
        }
        ::madvise(p, size_, MADV_SEQUENTIAL);
        data_ = static_cast<const uint8_t*>(p);
        slot_ = takeSlot(data_, size_);
        if (slot_ < 0) {  // more live mappings than the table holds: not worth a fallback
            ::munmap(p, size_);
            ::close(fd);
            throw SKPError::unreadable(url);
        }
    }
    ::close(fd);
}

MappedFile::~MappedFile() {
    if (!data_) return;
    Slot& s = slots[slot_];
    s.begin.store(0, std::memory_order_release);
    ::munmap(const_cast<uint8_t*>(data_), size_);
    s.taken.store(false, std::memory_order_release);
}

bool MappedFile::damaged() const {
    return slot_ >= 0 && slots[slot_].damaged.load(std::memory_order_acquire);
}

void MappedFile::releaseBefore(size_t offset) const {
    if (!data_) return;
    size_t end = std::min(offset, size_) / pageSize * pageSize;
    if (end > 0) ::madvise(const_cast<uint8_t*>(data_), end, MADV_DONTNEED);
}

}  // namespace vistrel

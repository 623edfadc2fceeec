#include "AllocationCounter.h"

#include <cstdlib>
#include <new>

namespace vistrel::test {

std::atomic<bool> counting{false};
std::atomic<long> allocations{0};

bool countsAllocations() {
    counting = true;
    void* volatile p = ::operator new(16);
    counting = false;
    ::operator delete(p);
    return allocations.exchange(0) == 1;
}

}  // namespace vistrel::test

using vistrel::test::allocations;
using vistrel::test::counting;

// Every form is replaced: the sanitizers intercept each one, and a block from their allocator
// freed by ours is a mismatch.
namespace {

void* allocate(std::size_t size) noexcept {
    if (counting.load(std::memory_order_relaxed)) allocations.fetch_add(1);
    return std::malloc(size ? size : 1);
}

void* allocateOrThrow(std::size_t size) {
    if (void* p = allocate(size)) return p;
    throw std::bad_alloc();
}

}  // namespace

void* operator new(std::size_t size) {
    return allocateOrThrow(size);
}
void* operator new[](std::size_t size) {
    return allocateOrThrow(size);
}
void* operator new(std::size_t size, const std::nothrow_t&) noexcept {
    return allocate(size);
}
void* operator new[](std::size_t size, const std::nothrow_t&) noexcept {
    return allocate(size);
}
void operator delete(void* p) noexcept {
    std::free(p);
}
void operator delete[](void* p) noexcept {
    std::free(p);
}
void operator delete(void* p, std::size_t) noexcept {
    std::free(p);
}
void operator delete[](void* p, std::size_t) noexcept {
    std::free(p);
}

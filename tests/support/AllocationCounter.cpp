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

// The array and nothrow forms default to these, so replacing these counts them too.
void* operator new(std::size_t size) {
    if (counting.load(std::memory_order_relaxed)) allocations.fetch_add(1);
    if (void* p = std::malloc(size ? size : 1)) return p;
    throw std::bad_alloc();
}
void operator delete(void* p) noexcept {
    std::free(p);
}
void operator delete(void* p, std::size_t) noexcept {
    std::free(p);
}

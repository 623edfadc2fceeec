// Counts heap allocations while `counting` is set. Link AllocationCounter.cpp into a test binary
// of its own: it replaces the global allocation functions for the whole binary.
#pragma once

#include <atomic>

namespace vistrel::test {

extern std::atomic<bool> counting;
extern std::atomic<long> allocations;

// Exactly one heap allocation, out of the optimiser's reach (a new-expression whose result is
// unused may be removed), to prove the counter counts before a zero from it is trusted.
void allocateOnce();

}  // namespace vistrel::test

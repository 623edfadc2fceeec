// Counts heap allocations while `counting` is set. Link AllocationCounter.cpp into a test binary
// of its own: it replaces the global allocation functions for the whole binary.
#pragma once

#include <atomic>

namespace vistrel::test {

extern std::atomic<bool> counting;
extern std::atomic<long> allocations;

// Whether one heap allocation, out of the optimiser's reach, counts as exactly one; a zero from
// the counter is trusted only after this. Leaves the count at zero.
bool countsAllocations();

}  // namespace vistrel::test

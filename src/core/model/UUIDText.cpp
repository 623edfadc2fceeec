#include "model/UUIDText.h"

#include <cstdint>
#include <mutex>
#include <random>

namespace vistrel {

std::string makeUUIDText() {
    static std::mutex mutex;
    static std::mt19937_64 engine{std::random_device{}()};
    uint64_t hi, lo;
    {
        std::lock_guard guard(mutex);
        hi = engine();
        lo = engine();
    }
    hi = (hi & ~0xF000ull) | 0x4000ull;                          // version 4
    lo = (lo & ~0xC000000000000000ull) | 0x8000000000000000ull;  // RFC 4122 variant
    static const char* hex = "0123456789ABCDEF";
    std::string out;
    out.reserve(36);
    for (int i = 0; i < 32; ++i) {
        if (i == 8 || i == 12 || i == 16 || i == 20) out.push_back('-');
        uint64_t word = i < 16 ? hi : lo;
        out.push_back(hex[(word >> (60 - 4 * (i % 16))) & 0xF]);
    }
    return out;
}

}  // namespace vistrel

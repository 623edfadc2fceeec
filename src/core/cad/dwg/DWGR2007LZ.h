// The LZ77 variant of AC1021 pages and system pages: its own opcodes, and literal runs whose
// bytes are stored in a shuffled order within blocks of up to 32.
#pragma once

#include <cstddef>
#include <cstdint>
#include <span>

namespace vistrel {

class DWGR2007LZ {
  public:
    // Decompresses all of `in` into `out`, sized by the caller from the page's announced size.
    // Returns the bytes written. Throws DWGFormatError when a run or reference would leave
    // either buffer.
    static size_t decompress(std::span<const uint8_t> in, std::span<uint8_t> out);
};

}  // namespace vistrel

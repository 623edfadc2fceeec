// The LZ77 variant that compresses the pages of R2004 and later containers (R2007 excepted):
// literal runs and back-references into what is already decompressed.
#pragma once

#include <cstddef>
#include <cstdint>
#include <span>

namespace vistrel {

class DWGLZ77 {
  public:
    // Decompresses `in` into `out`, which the caller sized from the page header: nothing is
    // allocated, and a length that would run past `out` throws instead of growing it. Returns
    // the bytes written. Throws DWGFormatError when the input ends before its end opcode, a
    // back-reference points before the start, or the output would overflow.
    static size_t decompress(std::span<const uint8_t> in, std::span<uint8_t> out);
};

}  // namespace vistrel

// A minimal PNG encoder for pictures core makes itself (a DWG's bitmap preview): 8-bit RGB,
// one zlib stream, no filtering.
#pragma once

#include <cstdint>
#include <span>
#include <vector>

namespace vistrel {

class PNGWriter {
  public:
    // `rgb` holds width * height * 3 bytes, rows top to bottom. Returns a complete PNG file.
    static std::vector<uint8_t> encodeRGB(uint32_t width, uint32_t height,
                                          std::span<const uint8_t> rgb);
};

}  // namespace vistrel

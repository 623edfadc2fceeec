#include "identify/PNGWriter.h"

#include <zlib.h>

#include <cstring>
#include <stdexcept>

namespace vistrel {

namespace {

void put32(std::vector<uint8_t>& out, uint32_t v) {
    for (int shift = 24; shift >= 0; shift -= 8) out.push_back(uint8_t(v >> shift));
}

void chunk(std::vector<uint8_t>& out, const char type[4], std::span<const uint8_t> data) {
    put32(out, uint32_t(data.size()));
    const size_t start = out.size();
    out.insert(out.end(), type, type + 4);
    out.insert(out.end(), data.begin(), data.end());
    put32(out, uint32_t(crc32(0, out.data() + start, uInt(out.size() - start))));
}

}  // namespace

std::vector<uint8_t> PNGWriter::encodeRGB(uint32_t width, uint32_t height,
                                          std::span<const uint8_t> rgb) {
    const size_t row = size_t(width) * 3;
    if (rgb.size() != row * height) throw std::invalid_argument("PNGWriter: size mismatch");
    // Each row is preceded by its filter type, 0 (none).
    std::vector<uint8_t> raw;
    raw.reserve((row + 1) * height);
    for (uint32_t y = 0; y < height; ++y) {
        raw.push_back(0);
        raw.insert(raw.end(), rgb.begin() + ptrdiff_t(y * row),
                   rgb.begin() + ptrdiff_t((y + 1) * row));
    }
    uLongf packedSize = compressBound(uLong(raw.size()));
    std::vector<uint8_t> packed(packedSize);
    if (compress2(packed.data(), &packedSize, raw.data(), uLong(raw.size()), 6) != Z_OK) {
        throw std::runtime_error("PNGWriter: zlib failed");
    }
    packed.resize(packedSize);

    std::vector<uint8_t> png{0x89, 'P', 'N', 'G', 0x0D, 0x0A, 0x1A, 0x0A};
    std::vector<uint8_t> header;
    put32(header, width);
    put32(header, height);
    header.insert(header.end(), {8, 2, 0, 0, 0});  // 8 bits, RGB, deflate, no filter, no interlace
    chunk(png, "IHDR", header);
    chunk(png, "IDAT", packed);
    chunk(png, "IEND", {});
    return png;
}

}  // namespace vistrel

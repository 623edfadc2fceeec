#include "identify/DWGPreview.h"

#include <algorithm>
#include <cstring>

#include "identify/PNGWriter.h"

namespace vistrel {

namespace {

constexpr uint8_t sentinel[16] = {0x1F, 0x25, 0x6D, 0x07, 0xD4, 0x36, 0x28, 0x28,
                                  0x9D, 0x57, 0xCA, 0x3F, 0x9D, 0x44, 0x10, 0x2B};
constexpr uint8_t bmpCode = 2;
constexpr uint8_t pngCode = 6;
// Previews are a few hundred pixels wide; anything far larger is not one.
constexpr int32_t maxSide = 4096;

uint32_t le32(std::span<const uint8_t> b, size_t at) {
    return uint32_t{b[at]} | uint32_t{b[at + 1]} << 8 | uint32_t{b[at + 2]} << 16 |
           uint32_t{b[at + 3]} << 24;
}

uint16_t le16(std::span<const uint8_t> b, size_t at) {
    return uint16_t(b[at] | b[at + 1] << 8);
}

// A signature first and an IEND chunk last: what callers of a thumbnail count on.
bool isWholePNG(std::span<const uint8_t> b) {
    static constexpr uint8_t signature[8] = {0x89, 'P', 'N', 'G', 0x0D, 0x0A, 0x1A, 0x0A};
    return b.size() >= 20 && std::equal(std::begin(signature), std::end(signature), b.begin()) &&
           std::memcmp(b.data() + b.size() - 8, "IEND", 4) == 0;
}

}  // namespace

std::optional<std::vector<uint8_t>> DWGPreview::png(std::span<const uint8_t> header) {
    if (header.size() < 0x11) return std::nullopt;
    const size_t at = le32(header, 0x0D);
    // Sentinel, RL overall size, RC image count, then per image RC code, RL start, RL size.
    if (at >= header.size() || header.size() - at < 16 + 4 + 1) return std::nullopt;
    if (!std::equal(std::begin(sentinel), std::end(sentinel), header.begin() + ptrdiff_t(at))) {
        return std::nullopt;
    }
    const size_t count = header[at + 20];
    std::optional<std::vector<uint8_t>> bitmap;
    for (size_t i = 0, entry = at + 21; i < count && header.size() - entry >= 9; ++i, entry += 9) {
        const uint8_t code = header[entry];
        const size_t start = le32(header, entry + 1);
        const size_t size = le32(header, entry + 5);
        if (start > header.size() || size > header.size() - start) continue;
        auto image = header.subspan(start, size);
        if (code == pngCode && isWholePNG(image))
            return std::vector<uint8_t>(image.begin(), image.end());
        if (code == bmpCode && !bitmap) bitmap = pngFromDIB(image);
    }
    return bitmap;
}

std::optional<std::vector<uint8_t>> DWGPreview::pngFromDIB(std::span<const uint8_t> dib) {
    if (dib.size() < 40) return std::nullopt;
    const uint32_t infoSize = le32(dib, 0);
    const int32_t width = int32_t(le32(dib, 4));
    const int32_t signedHeight = int32_t(le32(dib, 8));
    const uint16_t bits = le16(dib, 14);
    const uint32_t compression = le32(dib, 16);
    uint32_t colors = le32(dib, 32);
    if (infoSize < 40 || infoSize > dib.size() || compression != 0) return std::nullopt;
    if (width <= 0 || width > maxSide || signedHeight == 0 || signedHeight < -maxSide ||
        signedHeight > maxSide) {
        return std::nullopt;
    }
    if (bits != 1 && bits != 4 && bits != 8 && bits != 24 && bits != 32) return std::nullopt;
    const bool bottomUp = signedHeight > 0;
    const uint32_t height = uint32_t(bottomUp ? signedHeight : -signedHeight);
    if (bits <= 8 && (colors == 0 || colors > (1u << bits))) colors = 1u << bits;
    if (bits > 8) colors = 0;
    const size_t paletteAt = infoSize;
    if (size_t(colors) * 4 > dib.size() - paletteAt) return std::nullopt;
    const size_t pixelsAt = paletteAt + size_t(colors) * 4;
    const size_t stride = ((size_t(width) * bits + 31) / 32) * 4;
    if (stride * height > dib.size() - pixelsAt) return std::nullopt;

    std::vector<uint8_t> rgb(size_t(width) * height * 3);
    for (uint32_t y = 0; y < height; ++y) {
        const uint8_t* row = dib.data() + pixelsAt + stride * (bottomUp ? height - 1 - y : y);
        uint8_t* out = rgb.data() + size_t(y) * size_t(width) * 3;
        for (int32_t x = 0; x < width; ++x, out += 3) {
            if (bits >= 24) {
                const uint8_t* p = row + size_t(x) * (bits / 8);
                out[0] = p[2], out[1] = p[1], out[2] = p[0];
                continue;
            }
            const size_t bit = size_t(x) * bits;
            const uint32_t index = (row[bit / 8] >> (8 - bits - bit % 8)) & ((1u << bits) - 1);
            if (index >= colors) return std::nullopt;
            const uint8_t* c = dib.data() + paletteAt + index * 4;  // blue, green, red, unused
            out[0] = c[2], out[1] = c[1], out[2] = c[0];
        }
    }
    return PNGWriter::encodeRGB(uint32_t(width), height, rgb);
}

}  // namespace vistrel

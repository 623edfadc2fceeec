#include "HeaderPreview.h"

#include <algorithm>
#include <cstring>
#include <fstream>
#include <string_view>

#include "image/PNGFile.h"

namespace vistrel::thumbnailer {

namespace {

using viewport::Image;

// No preview block is anywhere near this large; a bigger claim is a damaged file.
constexpr size_t maxPreviewBytes = 16 * 1024 * 1024;
// THUMBNAILIMAGE is the last section; its hex text fits in this much of the end.
constexpr size_t dxfTailBytes = 8 * 1024 * 1024;
constexpr int maxDIBSide = 8192;

uint32_t le32(std::span<const uint8_t> b, size_t at) {
    return uint32_t(b[at]) | uint32_t(b[at + 1]) << 8 | uint32_t(b[at + 2]) << 16 |
           uint32_t(b[at + 3]) << 24;
}

uint16_t le16(std::span<const uint8_t> b, size_t at) {
    return uint16_t(b[at] | b[at + 1] << 8);
}

// Up to `length` bytes of the file from `offset`; fewer when the file ends first.
std::vector<uint8_t> readAt(const std::filesystem::path& path, uint64_t offset, size_t length) {
    std::vector<uint8_t> bytes;
    std::ifstream in(path, std::ios::binary);
    if (!in || !in.seekg(std::streamoff(offset))) return bytes;
    bytes.resize(length);
    in.read(reinterpret_cast<char*>(bytes.data()), std::streamsize(length));
    bytes.resize(size_t(std::max<std::streamsize>(in.gcount(), 0)));
    return bytes;
}

// DWG R13 and later: a seeker at 0x0D points at a sentinel, the block's size, a count and
// entries of (code, start, size); code 2 is a BMP, code 6 a PNG.
std::optional<Image> dwgPreview(const SKPFileInfo& info) {
    auto head = readAt(info.url, 0, 0x11);
    if (head.size() < 0x11) return std::nullopt;
    const uint64_t seeker = le32(head, 0x0D);
    auto block = readAt(info.url, seeker, 16 + 5 + 9 * 8);
    if (block.size() < 16 + 5) return std::nullopt;
    const size_t count = block[20];
    for (size_t i = 0; i < count && 21 + 9 * (i + 1) <= block.size(); ++i) {
        const size_t at = 21 + 9 * i;
        const uint8_t code = block[at];
        const uint32_t start = le32(block, at + 1), size = le32(block, at + 5);
        if ((code != 2 && code != 6) || size == 0 || size > maxPreviewBytes) continue;
        if (uint64_t(start) + size > uint64_t(info.fileSize)) continue;
        auto bytes = readAt(info.url, start, size);
        if (bytes.size() != size) continue;
        if (auto image = decodePreview(bytes)) return image;
    }
    return std::nullopt;
}

std::optional<Image> dxfPreview(const SKPFileInfo& info) {
    const uint64_t size = uint64_t(std::max<int64_t>(info.fileSize, 0));
    const uint64_t from = size > dxfTailBytes ? size - dxfTailBytes : 0;
    auto tail = readAt(info.url, from, size_t(size - from));
    auto bytes = dxfThumbnailBytes(tail);
    return bytes ? decodePreview(*bytes) : std::nullopt;
}

int hexDigit(char c) {
    if (c >= '0' && c <= '9') return c - '0';
    if (c >= 'A' && c <= 'F') return c - 'A' + 10;
    if (c >= 'a' && c <= 'f') return c - 'a' + 10;
    return -1;
}

std::string_view trimmed(std::string_view s) {
    while (!s.empty() && (s.front() == ' ' || s.front() == '\t')) s.remove_prefix(1);
    while (!s.empty() && (s.back() == ' ' || s.back() == '\t' || s.back() == '\r'))
        s.remove_suffix(1);
    return s;
}

}  // namespace

std::optional<std::vector<uint8_t>> dxfThumbnailBytes(std::span<const uint8_t> tail) {
    std::string_view text(reinterpret_cast<const char*>(tail.data()), tail.size());
    size_t at = text.rfind("THUMBNAILIMAGE");
    if (at == std::string_view::npos) return std::nullopt;
    at = text.find('\n', at);
    std::vector<uint8_t> bytes;
    // Group code and value lines in pairs until the section's closing 0.
    while (at != std::string_view::npos && at + 1 < text.size()) {
        const size_t codeEnd = text.find('\n', at + 1);
        if (codeEnd == std::string_view::npos) break;
        const size_t valueEnd = std::min(text.find('\n', codeEnd + 1), text.size());
        const std::string_view code = trimmed(text.substr(at + 1, codeEnd - at - 1));
        const std::string_view value = trimmed(text.substr(codeEnd + 1, valueEnd - codeEnd - 1));
        at = valueEnd;
        if (code == "0") break;
        if (code != "310") continue;
        if (value.size() % 2 != 0) return std::nullopt;
        for (size_t i = 0; i < value.size(); i += 2) {
            const int hi = hexDigit(value[i]), lo = hexDigit(value[i + 1]);
            if (hi < 0 || lo < 0) return std::nullopt;
            bytes.push_back(uint8_t(hi << 4 | lo));
        }
        if (bytes.size() > maxPreviewBytes) return std::nullopt;
    }
    if (bytes.empty()) return std::nullopt;
    return bytes;
}

std::optional<Image> decodeDIB(std::span<const uint8_t> b) {
    if (b.size() < 40) return std::nullopt;
    const uint32_t headerSize = le32(b, 0);
    const int32_t width = int32_t(le32(b, 4)), rawHeight = int32_t(le32(b, 8));
    const uint16_t bits = le16(b, 14);
    const uint32_t compression = le32(b, 16);
    uint32_t colours = le32(b, 32);
    if (headerSize < 40 || headerSize > b.size() || compression != 0) return std::nullopt;
    if (rawHeight == INT32_MIN) return std::nullopt;
    const bool topDown = rawHeight < 0;
    const int height = topDown ? -rawHeight : rawHeight;
    if (width <= 0 || height <= 0 || width > maxDIBSide || height > maxDIBSide) return std::nullopt;
    if (bits != 1 && bits != 4 && bits != 8 && bits != 24 && bits != 32) return std::nullopt;
    if (bits <= 8 && (colours == 0 || colours > (1u << bits))) colours = 1u << bits;
    if (bits > 8) colours = 0;
    const size_t paletteAt = headerSize;
    const size_t pixelsAt = paletteAt + size_t(colours) * 4;
    const size_t rowBytes = (size_t(width) * bits + 31) / 32 * 4;
    if (pixelsAt > b.size() || rowBytes * size_t(height) > b.size() - pixelsAt) return std::nullopt;

    Image image;
    image.width = width;
    image.height = height;
    image.pixels.resize(image.bytesPerRow() * size_t(height));
    for (int y = 0; y < height; ++y) {
        const uint8_t* row = b.data() + pixelsAt + rowBytes * size_t(topDown ? y : height - 1 - y);
        uint8_t* out = image.pixels.data() + image.bytesPerRow() * size_t(y);
        for (int x = 0; x < width; ++x, out += 4) {
            const uint8_t* bgr = nullptr;
            if (bits <= 8) {
                const size_t bit = size_t(x) * bits;
                const unsigned index = (row[bit / 8] >> (8 - bits - bit % 8)) & ((1u << bits) - 1);
                // An index past a short palette reads as black rather than past the table.
                static const uint8_t black[3] = {0, 0, 0};
                bgr = index < colours ? b.data() + paletteAt + index * 4 : black;
            } else {
                bgr = row + size_t(x) * (bits / 8);
            }
            out[0] = bgr[2];
            out[1] = bgr[1];
            out[2] = bgr[0];
            out[3] = 255;
        }
    }
    return image;
}

std::optional<Image> decodePreview(std::span<const uint8_t> bytes) {
    static const uint8_t pngSignature[] = {0x89, 'P', 'N', 'G'};
    if (bytes.size() >= 4 && std::memcmp(bytes.data(), pngSignature, 4) == 0)
        return viewport::PNGFile::decode(bytes);
    if (bytes.size() >= 14 && bytes[0] == 'B' && bytes[1] == 'M')
        return decodeDIB(bytes.subspan(14));
    return decodeDIB(bytes);
}

std::optional<Image> headerPreview(const SKPFileInfo& info) {
    if (info.thumbnailPNG) {
        if (auto image = viewport::PNGFile::decode(*info.thumbnailPNG)) return image;
    }
    if (info.isDXF()) {
        if (SKPFileInfo::isBinaryDXF(readAt(info.url, 0, 32))) return std::nullopt;
        return dxfPreview(info);
    }
    if (info.isDWG()) return dwgPreview(info);
    return std::nullopt;
}

Image fitWithin(const Image& image, int size) {
    const int longest = std::max(image.width, image.height);
    if (size <= 0 || longest <= size) return image;
    Image out;
    out.width = std::max(1, int(int64_t(image.width) * size / longest));
    out.height = std::max(1, int(int64_t(image.height) * size / longest));
    out.pixels.resize(out.bytesPerRow() * size_t(out.height));
    for (int y = 0; y < out.height; ++y) {
        const int y0 = int(int64_t(y) * image.height / out.height);
        const int y1 = std::max(y0 + 1, int(int64_t(y + 1) * image.height / out.height));
        for (int x = 0; x < out.width; ++x) {
            const int x0 = int(int64_t(x) * image.width / out.width);
            const int x1 = std::max(x0 + 1, int(int64_t(x + 1) * image.width / out.width));
            uint64_t sum[4] = {0, 0, 0, 0};
            for (int sy = y0; sy < y1; ++sy)
                for (int sx = x0; sx < x1; ++sx)
                    for (int c = 0; c < 4; ++c) sum[c] += image.pixel(sx, sy)[c];
            const uint64_t n = uint64_t(y1 - y0) * uint64_t(x1 - x0);
            uint8_t* o = out.pixels.data() + size_t(y) * out.bytesPerRow() + size_t(x) * 4;
            for (int c = 0; c < 4; ++c) o[c] = uint8_t((sum[c] + n / 2) / n);
        }
    }
    return out;
}

}  // namespace vistrel::thumbnailer

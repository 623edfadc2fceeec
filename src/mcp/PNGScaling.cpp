#include "PNGScaling.h"

#include <png.h>

#include <algorithm>
#include <cmath>
#include <cstring>

namespace vistrel::mcp::PNGScaling {

std::optional<Size> size(std::span<const std::uint8_t> png) {
    static constexpr std::uint8_t kSignature[8] = {0x89, 'P', 'N', 'G', '\r', '\n', 0x1a, '\n'};
    if (png.size() < 24 || std::memcmp(png.data(), kSignature, 8) != 0 ||
        std::memcmp(png.data() + 12, "IHDR", 4) != 0)
        return std::nullopt;
    auto big = [&](std::size_t at) {
        return int(std::uint32_t(png[at]) << 24 | std::uint32_t(png[at + 1]) << 16 |
                   std::uint32_t(png[at + 2]) << 8 | png[at + 3]);
    };
    return Size{big(16), big(20)};
}

Size targetSize(Size original, std::optional<int> width, std::optional<int> height) {
    if (width && height) return {*width, *height};
    if (original.width <= 0 || original.height <= 0) return original;
    if (width)
        return {*width,
                std::max(1, int(std::lround(double(*width) * original.height / original.width)))};
    if (height)
        return {std::max(1, int(std::lround(double(*height) * original.width / original.height))),
                *height};
    return original;
}

std::optional<std::vector<std::uint8_t>> scaled(std::span<const std::uint8_t> png, Size target) {
    if (target.width <= 0 || target.height <= 0) return std::nullopt;
    png_image image{};
    image.version = PNG_IMAGE_VERSION;
    if (!png_image_begin_read_from_memory(&image, png.data(), png.size())) return std::nullopt;
    image.format = PNG_FORMAT_RGBA;
    const int sw = int(image.width), sh = int(image.height);
    std::vector<std::uint8_t> source(PNG_IMAGE_SIZE(image));
    if (!png_image_finish_read(&image, nullptr, source.data(), 0, nullptr)) {
        png_image_free(&image);
        return std::nullopt;
    }

    const int tw = target.width, th = target.height;
    std::vector<std::uint8_t> pixels(std::size_t(tw) * std::size_t(th) * 4);
    for (int y = 0; y < th; ++y) {
        const int y0 = int(std::int64_t(y) * sh / th);
        const int y1 = std::max(y0 + 1, int((std::int64_t(y) + 1) * sh / th));
        for (int x = 0; x < tw; ++x) {
            const int x0 = int(std::int64_t(x) * sw / tw);
            const int x1 = std::max(x0 + 1, int((std::int64_t(x) + 1) * sw / tw));
            std::uint64_t sum[4] = {};
            for (int sy = y0; sy < y1; ++sy)
                for (int sx = x0; sx < x1; ++sx)
                    for (int c = 0; c < 4; ++c)
                        sum[c] +=
                            source[(std::size_t(sy) * std::size_t(sw) + std::size_t(sx)) * 4 + c];
            const std::uint64_t count = std::uint64_t(y1 - y0) * std::uint64_t(x1 - x0);
            std::uint8_t* out = &pixels[(std::size_t(y) * std::size_t(tw) + std::size_t(x)) * 4];
            for (int c = 0; c < 4; ++c) out[c] = std::uint8_t((sum[c] + count / 2) / count);
        }
    }

    png_image output{};
    output.version = PNG_IMAGE_VERSION;
    output.width = png_uint_32(tw);
    output.height = png_uint_32(th);
    output.format = PNG_FORMAT_RGBA;
    png_alloc_size_t bytes = 0;
    if (!png_image_write_to_memory(&output, nullptr, &bytes, 0, pixels.data(), 0, nullptr))
        return std::nullopt;
    std::vector<std::uint8_t> encoded(bytes);
    if (!png_image_write_to_memory(&output, encoded.data(), &bytes, 0, pixels.data(), 0, nullptr))
        return std::nullopt;
    encoded.resize(bytes);
    return encoded;
}

}  // namespace vistrel::mcp::PNGScaling

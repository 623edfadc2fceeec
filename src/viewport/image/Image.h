// A plain sRGB pixel buffer made without a GPU: rows top first, four bytes per pixel in the
// order red, green, blue, then a byte the renderer ignores (always 255 here).
#pragma once

#include <cstddef>
#include <cstdint>
#include <vector>

namespace vistrel::viewport {

struct Image {
    int width = 0;
    int height = 0;
    bool interpolated = true;          // the renderer samples it with linear filtering
    std::vector<std::uint8_t> pixels;  // height rows of bytesPerRow()

    std::size_t bytesPerRow() const { return std::size_t(width) * 4; }
    const std::uint8_t* pixel(int x, int y) const {
        return pixels.data() + std::size_t(y) * bytesPerRow() + std::size_t(x) * 4;
    }
};

}  // namespace vistrel::viewport

// Resizing of the program's PNG snapshots for clients that want a smaller (or larger) picture.
#pragma once

#include <cstdint>
#include <optional>
#include <span>
#include <vector>

namespace vistrel::mcp::PNGScaling {

struct Size {
    int width = 0;
    int height = 0;
};

// The width and height in a PNG's header; absent when `png` does not start like a PNG.
std::optional<Size> size(std::span<const std::uint8_t> png);

// The size asked for: both given, as they are; one given, the other follows the aspect ratio
// of `original` (at least 1); none, `original`.
Size targetSize(Size original, std::optional<int> width, std::optional<int> height);

// `png` resampled to `target` (each target pixel the mean of the source pixels it covers) and
// encoded again as RGBA; absent when `png` does not decode.
std::optional<std::vector<std::uint8_t>> scaled(std::span<const std::uint8_t> png, Size target);

}  // namespace vistrel::mcp::PNGScaling

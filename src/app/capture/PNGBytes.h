// A picture of the view as the bytes of a PNG file, for the clipboard and for export.
#pragma once

#include <cstdint>
#include <optional>
#include <vector>

#include "image/Image.h"

namespace vistrel::app {

// Opaque 8-bit RGB: the fourth byte of each pixel is not alpha. Absent for an empty image or
// one whose buffer is shorter than its size says.
std::optional<std::vector<std::uint8_t>> pngBytes(const viewport::Image& image);

}  // namespace vistrel::app

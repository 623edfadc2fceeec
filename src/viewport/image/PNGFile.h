// PNG files of Image buffers (8-bit RGBA, rows top first), through libpng.
#pragma once

#include <cstdint>
#include <filesystem>
#include <optional>
#include <span>
#include <string>

#include "image/Image.h"

namespace vistrel::viewport::PNGFile {

// Writes `image` with its alpha; false with the reason in `error`.
bool write(const Image& image, const std::filesystem::path& path, std::string& error);
// Reads any PNG as 8-bit RGBA; absent when the file is missing or not a PNG.
std::optional<Image> read(const std::filesystem::path& path);
// Decodes PNG bytes held in memory as 8-bit RGBA; absent when they are not a whole PNG.
std::optional<Image> decode(std::span<const std::uint8_t> bytes);

}  // namespace vistrel::viewport::PNGFile

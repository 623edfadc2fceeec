// PNG files of Image buffers (8-bit RGBA, rows top first), through libpng.
#pragma once

#include <filesystem>
#include <optional>
#include <string>

#include "image/Image.h"

namespace vistrel::viewport::PNGFile {

// Writes `image` with its alpha; false with the reason in `error`.
bool write(const Image& image, const std::filesystem::path& path, std::string& error);
// Reads any PNG as 8-bit RGBA; absent when the file is missing or not a PNG.
std::optional<Image> read(const std::filesystem::path& path);

}  // namespace vistrel::viewport::PNGFile

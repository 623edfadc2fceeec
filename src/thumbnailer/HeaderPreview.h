// The small picture a drawing carries in its own bytes: the PNG in a SketchUp header, the DWG
// preview block (BMP or PNG), the THUMBNAILIMAGE section at the end of an ASCII DXF. Reading
// it costs a few reads however large the file, so a thumbnail needs no load where one exists.
// Every function is total on outside bytes: anything malformed gives no picture.
#pragma once

#include <cstdint>
#include <filesystem>
#include <optional>
#include <span>

#include "identify/SKPFileInfo.h"
#include "image/Image.h"

namespace vistrel::thumbnailer {

// The picture of the file `info` describes, read from `info.url`; absent when it has none.
std::optional<viewport::Image> headerPreview(const SKPFileInfo& info);

// A device-independent bitmap (BITMAPINFOHEADER, no file header; 1, 4, 8, 24 or 32 bits,
// uncompressed) as RGBA.
std::optional<viewport::Image> decodeDIB(std::span<const uint8_t> bytes);
// The picture bytes of a preview: a PNG, a BMP file or a bare DIB.
std::optional<viewport::Image> decodePreview(std::span<const uint8_t> bytes);
// The hex data of the THUMBNAILIMAGE section in the tail of an ASCII DXF, decoded to bytes.
std::optional<std::vector<uint8_t>> dxfThumbnailBytes(std::span<const uint8_t> tail);

// `image` shrunk by area averaging so that its longest side is at most `size`; a smaller
// picture is returned as it is.
viewport::Image fitWithin(const viewport::Image& image, int size);

}  // namespace vistrel::thumbnailer

// The preview image a DWG keeps near its start, found from the file header's preview address
// without opening the drawing: a PNG as stored, or a device-independent bitmap turned into
// one. Works on the first bytes of a file (SKPFileInfo's header) and every release from R13.
#pragma once

#include <cstdint>
#include <optional>
#include <span>
#include <vector>

namespace vistrel {

class DWGPreview {
  public:
    // A complete PNG, or nothing when the header has no preview, it lies past `header`, or it
    // is a metafile or a bitmap of a kind not read (compressed, or not 1/4/8/24/32 bits).
    // Total: never throws.
    static std::optional<std::vector<uint8_t>> png(std::span<const uint8_t> header);

    // A BITMAPINFOHEADER, its palette and pixels (no BITMAPFILEHEADER), as PNG.
    static std::optional<std::vector<uint8_t>> pngFromDIB(std::span<const uint8_t> dib);
};

}  // namespace vistrel

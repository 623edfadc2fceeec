// Preview blocks and THUMBNAILIMAGE text come from any file a file manager shows: decoding must
// stay inside the bytes and give either nothing or a picture whose buffer matches its size.
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <span>

#include "HeaderPreview.h"

using namespace vistrel;

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    std::span<const uint8_t> bytes(data, size);
    if (auto image = thumbnailer::decodePreview(bytes)) {
        if (image->pixels.size() != image->bytesPerRow() * size_t(image->height)) std::abort();
        auto small = thumbnailer::fitWithin(*image, 7);
        if (small.width > 7 || small.height > 7 || small.width < 1) std::abort();
    }
    if (auto hex = thumbnailer::dxfThumbnailBytes(bytes)) {
        if (hex->empty() || hex->size() > size / 2) std::abort();
        thumbnailer::decodePreview(*hex);
    }
    return 0;
}

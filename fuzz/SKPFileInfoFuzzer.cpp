// Any header, under any of the extensions that change the verdict, must be identified without
// reading outside its bytes; what comes out must be consistent with what went in.
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <span>

#include "identify/SKPFileInfo.h"

using namespace vistrel;

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    if (size == 0) return 0;
    static const char* const names[] = {"f.skp", "f.dwg", "f.dxf", "f.DXF", "f.txt", "f"};
    const char* name = names[data[0] % std::size(names)];
    std::span<const uint8_t> header(data + 1, size - 1);
    SKPFileInfo info = SKPFileInfo::parse(header, name, int64_t(header.size()));
    if (info.versionLabel && !info.version) std::abort();
    if (info.version && info.version->empty()) std::abort();
    if (const auto& png = info.thumbnailPNG) {
        // Carved PNGs come from the header; a DWG bitmap made PNG may outgrow a tiny header,
        // but never a 4096-pixel square.
        if (png->size() < 16 || png->size() > header.size() + (64u << 20)) std::abort();
        if (std::memcmp(png->data(), "\x89PNG\r\n\x1a\n", 8) != 0) std::abort();
        if (std::memcmp(png->data() + png->size() - 8, "IEND", 4) != 0) std::abort();
    }
    return 0;
}

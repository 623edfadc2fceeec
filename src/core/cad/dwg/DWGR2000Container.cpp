#include "cad/dwg/DWGR2000Container.h"

#include <string>

#include "cad/dwg/DWGBitReader.h"

namespace vistrel::DWGR2000Container {

DWGSections read(std::span<const uint8_t> file, DWGVersion version) {
    constexpr size_t locatorsAt = 0x15, locatorSize = 9;
    if (file.size() < locatorsAt + 4) throw DWGFormatError("DWG file header cut short");
    DWGBitReader r(file);
    DWGSections s;
    s.version = version;
    r.seekByte(0x13);
    s.codePage = uint16_t(r.readRS());
    const uint32_t count = uint32_t(r.readRL());
    if (count > 64 || locatorsAt + 4 + size_t(count) * locatorSize > file.size())
        throw DWGFormatError("DWG section locators run past the file");
    bool found[3] = {};
    for (uint32_t i = 0; i < count; ++i) {
        const uint8_t number = r.readRC();
        const uint32_t seeker = uint32_t(r.readRL());
        const uint32_t size = uint32_t(r.readRL());
        if (number > 2) continue;
        if (seeker > file.size() || size > file.size() - seeker)
            throw DWGFormatError("DWG section " + std::to_string(number) +
                                 " lies outside the file");
        std::span<const uint8_t> span = file.subspan(seeker, size);
        (number == 0 ? s.header : number == 1 ? s.classes : s.handles) = span;
        found[number] = true;
    }
    if (!found[0] || !found[1] || !found[2])
        throw DWGFormatError("DWG file without its header, classes or object map");
    s.objects = file;
    // The preview: its sentinel and overall size at the image seeker. A bad seeker only loses it.
    r.seekByte(0x0D);
    const size_t image = uint32_t(r.readRL());
    if (image > 0 && image + 20 <= file.size()) {
        DWGBitReader p(file.subspan(image + 16, 4));
        const size_t size = uint32_t(p.readRL());
        if (size <= file.size() - image - 20) s.preview = file.subspan(image, 20 + size);
    }
    return s;
}

}  // namespace vistrel::DWGR2000Container

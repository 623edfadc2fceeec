#include "cad/dwg/DWGClasses.h"

#include <algorithm>

#include "cad/dwg/DWGBitReader.h"

namespace vistrel {

namespace {

constexpr size_t kSentinel = 16;

// From R2007 on the strings sit in a stream at the end of the data, found back from its end
// like an object's.
DWGBitReader stringStream(const DWGBitReader& data, size_t endBit) {
    DWGBitReader s = data;
    s.clearOverrun();
    if (endBit < 1 || endBit > s.bitSize()) return DWGBitReader();
    s.seekBit(endBit - 1);
    if (!s.readB()) return DWGBitReader();
    if (endBit < 17) return DWGBitReader();
    size_t at = endBit - 1 - 16;
    s.seekBit(at);
    uint32_t size = uint16_t(s.readRS());
    if (size & 0x8000) {
        if (at < 16) return DWGBitReader();
        at -= 16;
        s.seekBit(at);
        const uint32_t high = uint16_t(s.readRS());
        size = (size & 0x7FFF) | (high << 15);
    }
    if (size > at) return DWGBitReader();
    s.seekBit(at - size);
    s.limitTo(at);  // after the seek: the size just read lies past it
    return s;
}

}  // namespace

DWGClasses DWGClasses::read(std::span<const uint8_t> section, DWGVersion version,
                            uint16_t codePage) {
    DWGClasses classes;
    if (section.size() < kSentinel + 4) return classes;
    DWGBitReader r(section, codePage);
    r.seekByte(kSentinel);
    const size_t size = uint32_t(r.readRL());
    size_t dataStart = r.bitPosition();
    if (version >= DWGVersion::r2010) {
        // R2018, and R2010 or R2013 of a later maintenance release, put a high word here; as a
        // size it would be zero.
        DWGBitReader peek = r;
        if (version >= DWGVersion::r2018 || peek.readRL() == 0) {
            r.readRL();
            dataStart = r.bitPosition();
        }
    }
    const size_t end = std::min(dataStart + size * 8, r.bitSize());
    DWGBitReader strings;
    if (version >= DWGVersion::r2007) {
        const size_t bitsAt = r.bitPosition();
        const size_t bits = uint32_t(r.readRL());
        strings = stringStream(r, bitsAt + bits);
    }
    if (version >= DWGVersion::r2004) {
        r.readBS();  // the highest class number
        r.readRC();
        r.readRC();
        r.readB();
    }
    r.limitTo(end);
    auto text = [&](DWGBitReader& data) {
        return version >= DWGVersion::r2007 ? strings.readTU() : data.readTV();
    };
    while (r.bitsLeft() > 8 && !r.overrun()) {
        const int number = uint16_t(r.readBS());
        r.readBS();  // version or proxy flags
        text(r);     // application
        text(r);     // C++ class
        std::string dxf = text(r);
        r.readB();
        r.readBS();  // entity or object
        if (version >= DWGVersion::r2004) {
            r.readBL();  // instances
            r.readBS();  // release
            // Maintenance release: files written by AutoCAD 2018 hold values past 16 bits
            // here (329 in the corpus), so it is read as a long; small values code alike.
            r.readBL();
            r.readBL();
            r.readBL();
        }
        if (r.overrun() || number < 500 || number > 500 + 65535) break;
        const size_t index = size_t(number - 500);
        if (index >= classes.names_.size()) classes.names_.resize(index + 1);
        classes.names_[index] = std::move(dxf);
    }
    return classes;
}

std::string_view DWGClasses::dxfName(uint16_t type) const {
    if (type < 500 || size_t(type - 500) >= names_.size()) return {};
    return names_[type - 500];
}

}  // namespace vistrel

#include "cad/dwg/DWGBitReader.h"

#include <cstring>

namespace vistrel {

namespace {

// Code page 1252's printable characters in 0x80-0x9F; the rest of the page is Latin-1.
constexpr char16_t kWindows1252High[32] = {
    0x20AC, 0x0081, 0x201A, 0x0192, 0x201E, 0x2026, 0x2020, 0x2021, 0x02C6, 0x2030, 0x0160,
    0x2039, 0x0152, 0x008D, 0x017D, 0x008F, 0x0090, 0x2018, 0x2019, 0x201C, 0x201D, 0x2022,
    0x2013, 0x2014, 0x02DC, 0x2122, 0x0161, 0x203A, 0x0153, 0x009D, 0x017E, 0x0178};
constexpr uint16_t kANSI1252 = 30;

void appendUTF8(std::string& out, uint32_t c) {
    if (c < 0x80) {
        out += char(c);
    } else if (c < 0x800) {
        out += char(0xC0 | (c >> 6));
        out += char(0x80 | (c & 0x3F));
    } else if (c < 0x10000) {
        out += char(0xE0 | (c >> 12));
        out += char(0x80 | ((c >> 6) & 0x3F));
        out += char(0x80 | (c & 0x3F));
    } else {
        out += char(0xF0 | (c >> 18));
        out += char(0x80 | ((c >> 12) & 0x3F));
        out += char(0x80 | ((c >> 6) & 0x3F));
        out += char(0x80 | (c & 0x3F));
    }
}

void appendCodePageByte(std::string& out, uint8_t b, uint16_t codePage) {
    if (b >= 0x80 && b < 0xA0 && codePage == kANSI1252)
        appendUTF8(out, kWindows1252High[b - 0x80]);
    else
        appendUTF8(out, b);
}

// The high byte of a stored RGB value says what the colour is.
void applyColorMethod(DWGColor& c, uint32_t value) {
    switch (value >> 24) {
        case 0xC0:
            c.index = 256;
            break;
        case 0xC1:
            c.index = 0;
            break;
        case 0xC2:
            c.trueColor = true;
            c.rgb = value & 0xFFFFFF;
            break;
        case 0xC3:
            c.index = int16_t(value & 0xFF);
            break;
        default:
            break;
    }
}

}  // namespace

void DWGBitReader::seekBit(size_t bit) {
    if (bit > bitSize_) {
        overrun_ = true;
        bit = bitSize_;
    }
    pos_ = bit;
}

void DWGBitReader::limitTo(size_t bit) {
    if (bit < bitSize_) bitSize_ = bit;
    if (pos_ > bitSize_) {
        pos_ = bitSize_;
        overrun_ = true;
    }
}

uint8_t DWGBitReader::read3B() {
    uint8_t value = 0;
    for (int i = 0; i < 3; ++i) {
        const uint32_t bit = bits(1);
        value = uint8_t((value << 1) | bit);
        if (!bit) break;
    }
    return value;
}

int16_t DWGBitReader::readBS() {
    switch (bits(2)) {
        case 0:
            return readRS();
        case 1:
            return int16_t(bits(8));
        case 2:
            return 0;
        default:
            return 256;
    }
}

int32_t DWGBitReader::readBL() {
    switch (bits(2)) {
        case 0:
            return readRL();
        case 1:
            return int32_t(bits(8));
        default:
            return 0;
    }
}

uint64_t DWGBitReader::readBLL() {
    const unsigned length = bits(3);
    uint64_t value = 0;
    for (unsigned i = 0; i < length; ++i) value |= uint64_t(bits(8)) << (8 * i);
    return value;
}

double DWGBitReader::readBD() {
    switch (bits(2)) {
        case 0:
            return readRD();
        case 1:
            return 1.0;
        default:
            return 0.0;
    }
}

double DWGBitReader::readDD(double previous) {
    const uint32_t code = bits(2);
    if (code == 0) return previous;
    if (code == 3) return readRD();
    uint8_t b[8];
    std::memcpy(b, &previous, 8);
    if (code == 2) {
        b[4] = readRC();
        b[5] = readRC();
    }
    for (int i = 0; i < 4; ++i) b[i] = readRC();
    double value;
    std::memcpy(&value, b, 8);
    return value;
}

DWGPoint2 DWGBitReader::read2RD() {
    const double x = readRD();
    return {x, readRD()};
}

DWGPoint2 DWGBitReader::read2BD() {
    const double x = readBD();
    return {x, readBD()};
}

DWGPoint2 DWGBitReader::read2DD(DWGPoint2 previous) {
    const double x = readDD(previous.x);
    return {x, readDD(previous.y)};
}

DWGPoint3 DWGBitReader::read3BD() {
    const double x = readBD();
    const double y = readBD();
    return {x, y, readBD()};
}

DWGPoint3 DWGBitReader::read3RD() {
    const double x = readRD();
    const double y = readRD();
    return {x, y, readRD()};
}

int16_t DWGBitReader::readRS() {
    if (!need(16)) return 0;
    return int16_t(__builtin_bswap16(uint16_t(bits(16))));
}

int32_t DWGBitReader::readRL() {
    if (!need(32)) return 0;
    return int32_t(__builtin_bswap32(bits(32)));
}

double DWGBitReader::readRD() {
    if (!need(64)) return 0;
    const uint64_t lo = uint32_t(readRL());
    const uint64_t value = lo | (uint64_t(uint32_t(readRL())) << 32);
    double d;
    std::memcpy(&d, &value, 8);
    return d;
}

int64_t DWGBitReader::readMC() {
    uint64_t value = 0;
    for (unsigned shift = 0; shift < 64; shift += 7) {
        const uint8_t b = readRC();
        if (b & 0x80) {
            value |= uint64_t(b & 0x7F) << shift;
            continue;
        }
        value |= uint64_t(b & 0x3F) << shift;
        return (b & 0x40) ? -int64_t(value) : int64_t(value);
    }
    overrun_ = true;  // no end byte: not a number
    return 0;
}

uint64_t DWGBitReader::readUMC() {
    uint64_t value = 0;
    for (unsigned shift = 0; shift < 64; shift += 7) {
        const uint8_t b = readRC();
        value |= uint64_t(b & 0x7F) << shift;
        if (!(b & 0x80)) return value;
    }
    overrun_ = true;
    return 0;
}

uint32_t DWGBitReader::readMS() {
    uint32_t value = 0;
    for (unsigned shift = 0; shift < 32; shift += 15) {
        const uint16_t w = uint16_t(readRS());
        value |= uint32_t(w & 0x7FFF) << shift;
        if (!(w & 0x8000)) return value;
    }
    overrun_ = true;
    return 0;
}

DWGHandleRef DWGBitReader::readH() {
    DWGHandleRef ref;
    ref.code = uint8_t(bits(4));
    const unsigned counter = bits(4);
    if (counter > 8) {
        overrun_ = true;
        return {};
    }
    for (unsigned i = 0; i < counter; ++i) ref.value = (ref.value << 8) | bits(8);
    return ref;
}

void DWGBitReader::readBytes(std::span<uint8_t> out) {
    if (!need(out.size() * 8)) {
        std::memset(out.data(), 0, out.size());
        return;
    }
    if ((pos_ & 7) == 0) {
        std::memcpy(out.data(), bytes_.data() + (pos_ >> 3), out.size());
        pos_ += out.size() * 8;
        return;
    }
    for (uint8_t& b : out) b = readRC();
}

std::string DWGBitReader::readTV() {
    const size_t length = uint16_t(readBS());
    std::string out;
    if (!need(length * 8)) return out;
    out.reserve(length);
    bool ended = false;  // a terminating zero, and whatever padding follows it, is dropped
    for (size_t i = 0; i < length; ++i) {
        const uint8_t b = readRC();
        if (b == 0) ended = true;
        if (!ended) appendCodePageByte(out, b, codePage_);
    }
    return out;
}

std::string DWGBitReader::readTU() {
    const size_t length = uint16_t(readBS());
    std::string out;
    if (!need(length * 16)) return out;
    out.reserve(length);
    bool ended = false;
    for (size_t i = 0; i < length; ++i) {
        uint32_t c = uint16_t(readRS());
        if (c == 0) ended = true;
        if (ended) continue;
        if (c >= 0xD800 && c < 0xDC00 && i + 1 < length) {
            const uint32_t low = uint16_t(readRS());
            ++i;
            c = (low >= 0xDC00 && low < 0xE000) ? 0x10000 + ((c - 0xD800) << 10) + (low - 0xDC00)
                                                : 0xFFFD;
            if (low == 0) ended = true;
        } else if (c >= 0xD800 && c < 0xE000) {
            c = 0xFFFD;
        }
        if (!ended) appendUTF8(out, c);
    }
    return out;
}

std::string DWGBitReader::decodeCodePage(std::span<const uint8_t> raw, uint16_t codePage) {
    std::string out;
    out.reserve(raw.size());
    for (uint8_t b : raw) appendCodePageByte(out, b, codePage);
    return out;
}

double DWGBitReader::readBT(DWGVersion version) {
    if (version >= DWGVersion::r2000 && bits(1)) return 0.0;
    return readBD();
}

DWGPoint3 DWGBitReader::readBE(DWGVersion version) {
    if (version >= DWGVersion::r2000 && bits(1)) return {0, 0, 1};
    return read3BD();
}

DWGColor DWGBitReader::readCMC(DWGVersion version) {
    DWGColor c;
    c.index = readBS();
    if (version < DWGVersion::r2004) return c;
    applyColorMethod(c, uint32_t(readBL()));
    const uint8_t names = readRC();
    // From R2007 on the names sit in the object's string stream, which the caller reads.
    if (version < DWGVersion::r2007) {
        if (names & 1) readTV();
        if (names & 2) readTV();
    }
    c.nameFlags = names;
    return c;
}

DWGColor DWGBitReader::readENC(DWGVersion version) {
    if (version < DWGVersion::r2004) return readCMC(version);
    DWGColor c;
    const uint16_t value = uint16_t(readBS());
    c.index = int16_t(value & 0x1FF);
    // A book colour (0x4000, with 0x8000) stores its value behind the handle, not here.
    if ((value & 0xC000) == 0x8000) applyColorMethod(c, uint32_t(readBL()));
    if (value & 0x2000) readBL();  // transparency
    c.bookHandle = (value & 0x4000) != 0;
    return c;
}

uint16_t DWGBitReader::readOT(DWGVersion version) {
    if (version < DWGVersion::r2010) return uint16_t(readBS());
    switch (bits(2)) {
        case 0:
            return uint16_t(bits(8));
        case 1:
            return uint16_t(bits(8) + 0x1F0);
        default:
            return uint16_t(readRS());
    }
}

}  // namespace vistrel

#include "dxf/DXFTagReader.h"

#include <algorithm>
#include <cassert>
#include <cstring>

#include "identify/SKPFileInfo.h"

namespace vistrel {

namespace {

// Where binary data starts: after the sentinel's closing NUL, found within its 22 bytes so that a
// tail that lost a byte (a CR dropped in transfer) still lines up; with no NUL there, at byte 22.
size_t binaryDataStart(std::span<const uint8_t> bytes) {
    constexpr size_t sentinelSize = 22;
    size_t from = std::strlen(SKPFileInfo::binaryDXFPrefix);
    size_t to = std::min(bytes.size(), sentinelSize);
    for (size_t i = from; i < to; ++i)
        if (bytes[i] == 0) return i + 1;
    return to;
}

inline bool isSpace(char c) {
    return c == ' ' || c == '\t' || c == '\v' || c == '\f';
}

enum class ValueType { text, real, int16, int32, int64, byte, chunk };

// Storage of a group's value in binary DXF, by group code.
ValueType binaryType(int code) {
    if (code >= 10 && code <= 59) return ValueType::real;
    if (code >= 60 && code <= 79) return ValueType::int16;
    if (code >= 90 && code <= 99) return ValueType::int32;
    if (code >= 110 && code <= 149) return ValueType::real;
    if (code >= 160 && code <= 169) return ValueType::int64;
    if (code >= 170 && code <= 179) return ValueType::int16;
    if (code >= 210 && code <= 239) return ValueType::real;
    if (code >= 270 && code <= 279) return ValueType::int16;
    if (code >= 280 && code <= 289) return ValueType::int16;
    if (code >= 290 && code <= 299) return ValueType::byte;
    if (code >= 310 && code <= 319) return ValueType::chunk;
    if (code >= 370 && code <= 389) return ValueType::int16;
    if (code >= 400 && code <= 409) return ValueType::int16;
    if (code >= 420 && code <= 429) return ValueType::int32;
    if (code >= 440 && code <= 459) return ValueType::int32;
    if (code >= 460 && code <= 469) return ValueType::real;
    if (code == 1004) return ValueType::chunk;
    if (code >= 1010 && code <= 1059) return ValueType::real;
    if (code >= 1060 && code <= 1070) return ValueType::int16;
    if (code == 1071) return ValueType::int32;
    return ValueType::text;
}

// Takes the line at p (advancing p past its end, \n, \r\n or \r) and trims it into
// [first, last). Eight bytes at a time: DXF lines are short, and this is the one loop that sees
// every byte of the file. The lowest match of each mask is exact, so the kind of line end is
// known without reading the byte again.
inline bool takeLine(const char*& p, const char* end, const char*& first, const char*& last) {
    constexpr uint64_t ones = 0x0101010101010101ull, highs = 0x8080808080808080ull;
    const char* s = p;
    if (s >= end) return false;
    const char* e = s;
    bool cr = false;
    for (;;) {
        if (end - e < 8) {
            while (e < end && *e != '\n' && *e != '\r') ++e;
            cr = e < end && *e == '\r';
            break;
        }
        uint64_t w;
        std::memcpy(&w, e, 8);
        uint64_t lf = w ^ (ones * '\n'), crw = w ^ (ones * '\r');
        uint64_t lfHit = (lf - ones) & ~lf & highs, crHit = (crw - ones) & ~crw & highs;
        if (uint64_t hit = lfHit | crHit) {
            int bit = __builtin_ctzll(hit);
            e += bit >> 3;
            cr = (crHit >> bit) & 1;
            break;
        }
        e += 8;
    }
    p = e;
    if (p < end) p += (cr && p + 1 < end && p[1] == '\n') ? 2 : 1;
    while (s < e && isSpace(*s)) ++s;
    while (e > s && isSpace(e[-1])) --e;
    first = s;
    last = e;
    return true;
}

template <typename T>
T load(const char* p) {
    T v;
    std::memcpy(&v, p, sizeof v);  // files are little-endian, as is every target we build for
    return v;
}

}  // namespace

DXFTagReader::DXFTagReader(std::span<const uint8_t> bytes)
    : begin_(reinterpret_cast<const char*>(bytes.data())),
      p_(begin_),
      end_(begin_ + bytes.size()),
      binary_(SKPFileInfo::isBinaryDXF(bytes)) {
    if (!binary_ && bytes.size() >= 3 && std::memcmp(begin_, "\xEF\xBB\xBF", 3) == 0)
        p_ += 3;  // a UTF-8 byte order mark would otherwise cost the first pair
    if (binary_) {
        p_ = begin_ + binaryDataStart(bytes);
        // R12 writes "\0SECTION": a one-byte code 0 and the text right after it.
        wideCodes_ = !(end_ - p_ >= 2 && p_[0] == 0 && p_[1] != 0);
    }
}

void DXFTagReader::pushBack(const DXFTag& tag) {
    assert(!pushed_);
    pushed_ = tag;
}

bool DXFTagReader::read(DXFTag& tag) {
    if (pushed_) {
        tag = *pushed_;
        pushed_.reset();
        return true;
    }
    return binary_ ? nextBinary(tag) : nextAscii(tag);
}

bool DXFTagReader::nextAscii(DXFTag& tag) {
    for (;;) {
        const char *c0, *c1, *v0, *v1;
        const char* p = p_;
        if (!takeLine(p, end_, c0, c1) || !takeLine(p, end_, v0, v1)) {
            p_ = end_;
            return false;
        }
        p_ = p;
        ++pairs_;
        // Group codes are short decimal integers; anything else skips the pair.
        const char* c = c0;
        bool negative = false;
        if (c < c1 && (*c == '-' || *c == '+')) negative = *c++ == '-';
        if (c == c1 || c1 - c > 9) continue;
        int code = 0;
        bool ok = true;
        for (; c < c1; ++c) {
            unsigned d = unsigned(*c - '0');
            if (d > 9) {
                ok = false;
                break;
            }
            code = code * 10 + int(d);
        }
        if (!ok) continue;
        tag.code = negative ? -code : code;
        tag.text = std::string_view(v0, size_t(v1 - v0));
        tag.typed = false;
        return true;
    }
}

bool DXFTagReader::nextBinary(DXFTag& tag) {
    const char* p = p_;
    int code;
    if (wideCodes_) {
        if (end_ - p < 2) return false;
        code = load<int16_t>(p);
        p += 2;
    } else {
        if (end_ - p < 1) return false;
        code = uint8_t(*p++);
        if (code == 255) {
            if (end_ - p < 2) return false;
            code = load<int16_t>(p);
            p += 2;
        }
    }
    tag.code = code;
    tag.typed = true;
    tag.text = {};
    switch (binaryType(code)) {
        case ValueType::real:
            if (end_ - p < 8) return false;
            tag.number = load<double>(p);
            p += 8;
            break;
        case ValueType::int16:
            if (end_ - p < 2) return false;
            tag.number = load<int16_t>(p);
            p += 2;
            break;
        case ValueType::int32:
            if (end_ - p < 4) return false;
            tag.number = load<int32_t>(p);
            p += 4;
            break;
        case ValueType::int64:
            if (end_ - p < 8) return false;
            tag.number = double(load<int64_t>(p));
            p += 8;
            break;
        case ValueType::byte:
            if (end_ - p < 1) return false;
            tag.number = uint8_t(*p++);
            break;
        case ValueType::chunk: {
            if (end_ - p < 1) return false;
            size_t n = uint8_t(*p++);
            if (size_t(end_ - p) < n) return false;
            tag.typed = false;
            tag.text = std::string_view(p, n);
            p += n;
            break;
        }
        case ValueType::text: {
            const void* nul = std::memchr(p, 0, size_t(end_ - p));
            if (!nul) return false;
            const char* e = static_cast<const char*>(nul);
            tag.typed = false;
            tag.text = std::string_view(p, size_t(e - p));
            p = e + 1;
            break;
        }
    }
    p_ = p;
    ++pairs_;
    return true;
}

}  // namespace vistrel

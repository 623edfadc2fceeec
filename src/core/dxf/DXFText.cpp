#include "dxf/DXFText.h"

#include <cstdint>
#include <cstring>

namespace vistrel::DXFText {

// Strict UTF-8: no overlongs, no surrogates, nothing above U+10FFFF.
bool isValidUTF8(std::string_view s) {
    const auto* p = reinterpret_cast<const unsigned char*>(s.data());
    const auto* end = p + s.size();
    while (p < end) {
        // ASCII 32 bytes at a time: the common case in a DXF file.
        while (end - p >= 32) {
            uint64_t w[4];
            std::memcpy(w, p, 32);
            if ((w[0] | w[1] | w[2] | w[3]) & 0x8080808080808080ull) break;
            p += 32;
        }
        if (p >= end) break;
        unsigned c = *p;
        if (c < 0x80) {
            ++p;
            continue;
        }
        int n;
        unsigned lo = 0x80, hi = 0xBF;
        if (c >= 0xC2 && c <= 0xDF) {
            n = 1;
        } else if (c >= 0xE0 && c <= 0xEF) {
            n = 2;
            if (c == 0xE0) lo = 0xA0;
            if (c == 0xED) hi = 0x9F;
        } else if (c >= 0xF0 && c <= 0xF4) {
            n = 3;
            if (c == 0xF0) lo = 0x90;
            if (c == 0xF4) hi = 0x8F;
        } else {
            return false;
        }
        if (end - p <= n) return false;
        if (p[1] < lo || p[1] > hi) return false;
        for (int k = 2; k <= n; ++k)
            if ((p[k] & 0xC0) != 0x80) return false;
        p += n + 1;
    }
    return true;
}

std::string latin1ToUTF8(std::string_view s) {
    std::string out;
    out.reserve(s.size() * 2);
    for (char ch : s) {
        auto c = static_cast<unsigned char>(ch);
        if (c < 0x80) {
            out += char(c);
        } else {
            out += char(0xC0 | (c >> 6));
            out += char(0x80 | (c & 0x3F));
        }
    }
    return out;
}

// Layer and block names are short: eight bytes per step over the whole name.
size_t NameHash::operator()(std::string_view s) const {
    uint64_t h = 0x9E3779B97F4A7C15ull ^ s.size();
    size_t i = 0;
    for (; i + 8 <= s.size(); i += 8) {
        uint64_t w;
        std::memcpy(&w, s.data() + i, 8);
        h = (h ^ w) * 0xC2B2AE3D27D4EB4Full;
        h ^= h >> 29;
    }
    uint64_t tail = 0;
    if (i < s.size()) std::memcpy(&tail, s.data() + i, s.size() - i);
    h = (h ^ tail) * 0xC2B2AE3D27D4EB4Full;
    return size_t(h ^ (h >> 32));
}

}  // namespace vistrel::DXFText

#include "dxf/DXFTag.h"

#include <fast_float/fast_float.h>

#include <charconv>
#include <cmath>
#include <cstdint>
#include <limits>

namespace vistrel {

namespace {

constexpr double powersOfTen[] = {1e0,  1e1,  1e2,  1e3,  1e4,  1e5,  1e6,  1e7,
                                  1e8,  1e9,  1e10, 1e11, 1e12, 1e13, 1e14, 1e15,
                                  1e16, 1e17, 1e18, 1e19, 1e20, 1e21, 1e22};

}  // namespace

double DXFTag::asDouble(double fallback) const {
    if (typed) return number;
    const char* first = text.data();
    const char* last = first + text.size();
    // Writers put a '+' in front now and then; the parsers below take none.
    if (first != last && *first == '+') ++first;
    // Most DXF numbers are plain decimals ("-1234.5678"). With at most 15 digits the digits are
    // an exact double and so is the power of ten: one division rounds correctly, as a full
    // parser would.
    {
        const char* p = first;
        bool negative = p != last && *p == '-';
        if (negative) ++p;
        uint64_t digits = 0;
        int count = 0, decimals = 0;
        for (; p != last && unsigned(*p - '0') <= 9; ++p, ++count)
            digits = digits * 10 + unsigned(*p - '0');
        if (p != last && *p == '.')
            for (++p; p != last && unsigned(*p - '0') <= 9; ++p, ++count, ++decimals)
                digits = digits * 10 + unsigned(*p - '0');
        if (p == last && count > 0 && count <= 15) {
            double v = double(digits) / powersOfTen[decimals];
            return negative ? -v : v;
        }
    }
    double v = 0;
    auto [ptr, ec] = fast_float::from_chars(first, last, v);
    if (ec != std::errc() || ptr != last || first == last) return fallback;
    return v;
}

int DXFTag::asInt(int fallback) const {
    if (typed) {
        if (!(std::fabs(number) < 2147483647.0) || number != std::trunc(number)) return fallback;
        return int(number);
    }
    const char* first = text.data();
    const char* last = first + text.size();
    if (first != last && *first == '+') ++first;
    int v = 0;
    auto [ptr, ec] = std::from_chars(first, last, v);
    if (ec != std::errc() || ptr != last || first == last) return fallback;
    return v;
}

bool DXFTag::is(std::string_view upper) const {
    if (text.size() != upper.size()) return false;
    for (size_t i = 0; i < text.size(); ++i) {
        char c = text[i];
        if (c >= 'a' && c <= 'z') c = char(c - 32);
        if (c != upper[i]) return false;
    }
    return true;
}

}  // namespace vistrel

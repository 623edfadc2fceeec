#include "DXFTag.h"

#include <fast_float/fast_float.h>

#include <charconv>
#include <cmath>
#include <limits>

namespace vistrel {

double DXFTag::asDouble(double fallback) const {
    if (typed) return number;
    const char* first = text.data();
    const char* last = first + text.size();
    // Writers put a '+' in front now and then; the parser below takes none.
    if (first != last && *first == '+') ++first;
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

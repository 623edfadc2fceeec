#include "model/TextFolding.h"

#include <utf8proc.h>

#include <cstdlib>

namespace vistrel {

namespace {

std::string asciiLower(std::string_view s) {
    std::string r(s);
    for (char& c : r)
        if (c >= 'A' && c <= 'Z') c = char(c + 32);
    return r;
}

std::string map(std::string_view s, int options) {
    utf8proc_uint8_t* out = nullptr;
    auto n = utf8proc_map(reinterpret_cast<const utf8proc_uint8_t*>(s.data()),
                          utf8proc_ssize_t(s.size()), &out, utf8proc_option_t(options));
    if (n < 0) return asciiLower(s);
    std::string r(reinterpret_cast<char*>(out), size_t(n));
    std::free(out);
    return r;
}

}  // namespace

std::string foldCaseAndDiacritics(std::string_view text) {
    return map(text, UTF8PROC_STABLE | UTF8PROC_COMPOSE | UTF8PROC_CASEFOLD | UTF8PROC_STRIPMARK);
}

std::string lowercased(std::string_view text) {
    return map(text, UTF8PROC_STABLE | UTF8PROC_COMPOSE | UTF8PROC_CASEFOLD);
}

}  // namespace vistrel

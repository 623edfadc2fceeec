// Text helpers shared by the DXF readers: the file's encoding (UTF-8, else ISO Latin-1) and a
// hash for the short names of layers and blocks.
#pragma once

#include <cstddef>
#include <string>
#include <string_view>

namespace vistrel::DXFText {

// Strict UTF-8: no overlongs, no surrogates, nothing above U+10FFFF.
bool isValidUTF8(std::string_view s);
std::string latin1ToUTF8(std::string_view s);

struct NameHash {
    size_t operator()(std::string_view s) const;
};

}  // namespace vistrel::DXFText

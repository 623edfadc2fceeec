// One DXF group: a group code and its value. The text points into the file's bytes and is only
// valid while they are; a binary file delivers its numbers already typed.
#pragma once

#include <cstdint>
#include <string_view>

namespace vistrel {

struct DXFTag {
    int code = 0;
    std::string_view text;  // ASCII: the trimmed value line; binary: string values only
    double number = 0;      // binary numeric values
    bool typed = false;     // number holds the value (binary numeric group)

    // The value as a number, or fallback when it is not one (locale-free, whole text consumed).
    double asDouble(double fallback) const;
    // The value as a decimal integer, or fallback when it is not one.
    int asInt(int fallback) const;
    // Whether the value, upper-cased, equals `upper` (which must be upper case already).
    bool is(std::string_view upper) const;
};

}  // namespace vistrel

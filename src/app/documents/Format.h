// Display of numbers and counts in the interface language. French groups thousands with a
// narrow no-break space (U+202F) and writes a decimal comma; English groups with a comma.
#pragma once

#include <cstdint>
#include <string>
#include <string_view>

namespace vistrel::app::Format {

// Exactly one decimal; a value that cannot be formatted (NaN, infinity) gives its plain text.
std::string decimal(float value);
std::string decimal(double value);

// "1,234 faces": no decimals, a blank, the label, and "s" for the plural. English takes the
// plural for every n but 1, French only above 1.
std::string count(int64_t n, std::string_view label);

}  // namespace vistrel::app::Format

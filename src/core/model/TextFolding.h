// Text compared the way people read names: without regard to case or diacritics. Backed by
// utf8proc, so it is the same on every machine; bytes that are not UTF-8 fold as ASCII.
#pragma once

#include <string>
#include <string_view>

namespace vistrel {

// Case and diacritics folded away, lower case ("Étage" -> "etage").
std::string foldCaseAndDiacritics(std::string_view text);
// Unicode lower case with diacritics kept ("Étage" -> "étage").
std::string lowercased(std::string_view text);

}  // namespace vistrel

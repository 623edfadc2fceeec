// Fresh random UUID texts (version 4, upper case) for private temporary names.
#pragma once

#include <string>

namespace vistrel {

// "1B4E28BA-2FA1-41D2-883F-0016D3CCA427"; thread-safe.
std::string makeUUIDText();

}  // namespace vistrel

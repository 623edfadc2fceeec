// Whether the model is lit by the sun or by its point lights. The raw value is the word on the
// wire and in preferences, and doubles as the identity of a case in lists.
#pragma once

#include <array>
#include <optional>
#include <string>
#include <string_view>

namespace vistrel::viewport {

enum class LightingMode { sun, point };

inline constexpr std::array<LightingMode, 2> allLightingModes{LightingMode::sun,
                                                              LightingMode::point};

std::string_view rawValue(LightingMode mode);
// Exact, case-sensitive match of a raw value; nothing for any other text.
std::optional<LightingMode> lightingModeFromRaw(std::string_view raw);
// Name in the current interface language.
std::string label(LightingMode mode);
std::string_view icon(LightingMode mode);

}  // namespace vistrel::viewport

// How model surfaces are drawn. The raw value is the word on the wire and in preferences,
// and doubles as the identity of a case in lists.
#pragma once

#include <array>
#include <optional>
#include <string>
#include <string_view>

namespace vistrel::viewport {

enum class ShadingStyle { textured, clay, xray, wireframe };

inline constexpr std::array<ShadingStyle, 4> allShadingStyles{
    ShadingStyle::textured, ShadingStyle::clay, ShadingStyle::xray, ShadingStyle::wireframe};

std::string_view rawValue(ShadingStyle style);
// Exact, case-sensitive match of a raw value; nothing for any other text.
std::optional<ShadingStyle> shadingStyleFromRaw(std::string_view raw);
// Names in the current interface language.
std::string label(ShadingStyle style);
std::string shortLabel(ShadingStyle style);
// Symbol name of the toolbar icon.
std::string_view icon(ShadingStyle style);

}  // namespace vistrel::viewport

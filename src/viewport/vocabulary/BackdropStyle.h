// The background behind the model. The raw value is the word on the wire and in preferences,
// and doubles as the identity of a case in lists. Colours of each style live in Rendering.
#pragma once

#include <array>
#include <optional>
#include <string>
#include <string_view>

namespace vistrel::viewport {

enum class BackdropStyle { architecturalSky, studioDark, warmPaper, customColor };

inline constexpr std::array<BackdropStyle, 4> allBackdropStyles{
    BackdropStyle::architecturalSky, BackdropStyle::studioDark, BackdropStyle::warmPaper,
    BackdropStyle::customColor};

std::string_view rawValue(BackdropStyle style);
// Exact, case-sensitive match of a raw value; nothing for any other text.
std::optional<BackdropStyle> backdropStyleFromRaw(std::string_view raw);
// Name in the current interface language.
std::string label(BackdropStyle style);
std::string_view icon(BackdropStyle style);

}  // namespace vistrel::viewport

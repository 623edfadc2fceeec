#include "vocabulary/LightingMode.h"

#include "settings/Localization.h"

namespace vistrel::viewport {

std::string_view rawValue(LightingMode mode) {
    return mode == LightingMode::sun ? "sun" : "point";
}

std::optional<LightingMode> lightingModeFromRaw(std::string_view raw) {
    for (LightingMode m : allLightingModes)
        if (rawValue(m) == raw) return m;
    return std::nullopt;
}

std::string label(LightingMode mode) {
    return mode == LightingMode::sun ? L("Soleil", "Sun") : L("Ponctuel", "Point");
}

std::string_view icon(LightingMode mode) {
    return mode == LightingMode::sun ? "sun.max.fill" : "lightbulb.fill";
}

}  // namespace vistrel::viewport

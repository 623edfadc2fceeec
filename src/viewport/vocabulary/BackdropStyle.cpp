#include "vocabulary/BackdropStyle.h"

#include "settings/Localization.h"

namespace vistrel::viewport {

std::string_view rawValue(BackdropStyle style) {
    switch (style) {
        case BackdropStyle::architecturalSky:
            return "architecturalSky";
        case BackdropStyle::studioDark:
            return "studioDark";
        case BackdropStyle::warmPaper:
            return "warmPaper";
        case BackdropStyle::customColor:
            return "customColor";
    }
    return "architecturalSky";
}

std::optional<BackdropStyle> backdropStyleFromRaw(std::string_view raw) {
    for (BackdropStyle s : allBackdropStyles)
        if (rawValue(s) == raw) return s;
    return std::nullopt;
}

std::string label(BackdropStyle style) {
    switch (style) {
        case BackdropStyle::architecturalSky:
            return L("Ciel doux", "Soft Sky");
        case BackdropStyle::studioDark:
            return L("Studio sombre", "Dark Studio");
        case BackdropStyle::warmPaper:
            return L("Papier clair", "Warm Paper");
        case BackdropStyle::customColor:
            return L("Couleur", "Custom Color");
    }
    return {};
}

std::string_view icon(BackdropStyle style) {
    switch (style) {
        case BackdropStyle::architecturalSky:
            return "cloud.sun";
        case BackdropStyle::studioDark:
            return "moon.stars";
        case BackdropStyle::warmPaper:
            return "doc.plaintext";
        case BackdropStyle::customColor:
            return "paintpalette";
    }
    return {};
}

}  // namespace vistrel::viewport

#include "vocabulary/ShadingStyle.h"

#include "settings/Localization.h"

namespace vistrel::viewport {

std::string_view rawValue(ShadingStyle style) {
    switch (style) {
        case ShadingStyle::textured:
            return "textured";
        case ShadingStyle::clay:
            return "clay";
        case ShadingStyle::xray:
            return "xray";
        case ShadingStyle::wireframe:
            return "wireframe";
    }
    return "textured";
}

std::optional<ShadingStyle> shadingStyleFromRaw(std::string_view raw) {
    for (ShadingStyle s : allShadingStyles)
        if (rawValue(s) == raw) return s;
    return std::nullopt;
}

std::string label(ShadingStyle style) {
    switch (style) {
        case ShadingStyle::textured:
            return L("Texturé", "Textured");
        case ShadingStyle::clay:
            return L("Maquette blanche", "White Clay");
        case ShadingStyle::xray:
            return L("Rayons X", "X-Ray");
        case ShadingStyle::wireframe:
            return L("Filaire", "Wireframe");
    }
    return {};
}

std::string shortLabel(ShadingStyle style) {
    switch (style) {
        case ShadingStyle::textured:
            return L("PBR", "PBR");
        case ShadingStyle::clay:
            return L("Blanc", "Clay");
        case ShadingStyle::xray:
            return L("Rayons X", "X-Ray");
        case ShadingStyle::wireframe:
            return L("Filaire", "Wire");
    }
    return {};
}

std::string_view icon(ShadingStyle style) {
    switch (style) {
        case ShadingStyle::textured:
            return "cube.fill";
        case ShadingStyle::clay:
            return "cube";
        case ShadingStyle::xray:
            return "cube.transparent";
        case ShadingStyle::wireframe:
            return "squareshape.split.2x2";
    }
    return {};
}

}  // namespace vistrel::viewport

#include "remote/RemoteWords.h"

#include <QString>

#include <algorithm>
#include <utility>

#include "documents/DocumentModel.h"
#include "model/TextFolding.h"

namespace vistrel::app {

using viewport::BackdropStyle;
using viewport::LightingMode;
using viewport::ShadingStyle;
using viewport::StandardView;

namespace {

template <class T, size_t N>
std::optional<T> lookUp(const std::pair<std::string_view, T> (&table)[N], std::string_view word) {
    for (const auto& [w, value] : table)
        if (w == word) return value;
    return std::nullopt;
}

char asciiLower(char c) {
    return c >= 'A' && c <= 'Z' ? char(c - 'A' + 'a') : c;
}

}  // namespace

std::string lowerCased(std::string_view utf8) {
    return lowercased(utf8);
}

std::optional<ShadingStyle> shadingStyleForWord(std::string_view lowerCasedWord) {
    static constexpr std::pair<std::string_view, ShadingStyle> table[] = {
        {"textured", ShadingStyle::textured}, {"pbr", ShadingStyle::textured},
        {"clay", ShadingStyle::clay},         {"blanc", ShadingStyle::clay},
        {"white", ShadingStyle::clay},        {"xray", ShadingStyle::xray},
        {"x-ray", ShadingStyle::xray},        {"wireframe", ShadingStyle::wireframe},
        {"wire", ShadingStyle::wireframe},    {"filaire", ShadingStyle::wireframe},
    };
    return lookUp(table, lowerCasedWord);
}

std::optional<StandardView> standardViewForWord(std::string_view lowerCasedWord) {
    static constexpr std::pair<std::string_view, StandardView> table[] = {
        {"iso", StandardView::iso},        {"top", StandardView::top},
        {"dessus", StandardView::top},     {"bottom", StandardView::bottom},
        {"dessous", StandardView::bottom}, {"front", StandardView::front},
        {"face", StandardView::front},     {"back", StandardView::back},
        {"arriere", StandardView::back},   {"arrière", StandardView::back},
        {"left", StandardView::left},      {"gauche", StandardView::left},
        {"right", StandardView::right},    {"droite", StandardView::right},
    };
    return lookUp(table, lowerCasedWord);
}

std::optional<BackdropStyle> backdropStyleForRawName(std::string_view name) {
    // Raw names are ASCII, so a byte-wise fold is exact: no other text can match one.
    for (BackdropStyle style : viewport::allBackdropStyles) {
        std::string_view raw = viewport::rawValue(style);
        if (std::ranges::equal(raw, name, {}, asciiLower, asciiLower)) return style;
    }
    return std::nullopt;
}

std::optional<BackdropStyle> backdropStyleForWord(std::string_view word) {
    if (auto style = backdropStyleForRawName(word)) return style;
    // customColor has no short word: the colour route selects it.
    static constexpr std::pair<std::string_view, BackdropStyle> table[] = {
        {"sky", BackdropStyle::architecturalSky},
        {"dark", BackdropStyle::studioDark},
        {"studio", BackdropStyle::studioDark},
        {"paper", BackdropStyle::warmPaper},
    };
    return lookUp(table, lowerCased(word));
}

std::optional<LightingMode> lightingModeForWord(std::string_view lowerCasedWord) {
    static constexpr std::pair<std::string_view, LightingMode> table[] = {
        {"point", LightingMode::point},    {"omni", LightingMode::point},
        {"ponctuel", LightingMode::point}, {"sun", LightingMode::sun},
        {"soleil", LightingMode::sun},
    };
    return lookUp(table, lowerCasedWord);
}

namespace {

bool sameName(const std::string& a, const std::string& b) {
    return QString::compare(QString::fromStdString(a), QString::fromStdString(b),
                            Qt::CaseInsensitive) == 0;
}

}  // namespace

std::optional<int> sceneNamed(const DocumentModel& model, const std::string& name) {
    const SKPModel* skp = model.skp();
    if (!skp) return std::nullopt;
    for (size_t i = 0; i < skp->scenes.size(); ++i)
        if (sameName(skp->scenes[i].name, name)) return int(i);
    return std::nullopt;
}

std::optional<int> layerNamed(const DocumentModel& model, const std::string& name) {
    const SKPModel* skp = model.skp();
    if (!skp) return std::nullopt;
    for (size_t i = 0; i < skp->layers.size(); ++i)
        if (sameName(skp->layers[i].name, name)) return int(i);
    return std::nullopt;
}

std::optional<LayerGroup> groupNamed(const DocumentModel& model, const std::string& name) {
    const SKPModel* skp = model.skp();
    if (!skp) return std::nullopt;
    for (const LayerGroup& group : skp->layerGroups())
        if (sameName(group.name, name)) return group;
    return std::nullopt;
}

}  // namespace vistrel::app

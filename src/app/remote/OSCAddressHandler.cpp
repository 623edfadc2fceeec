#include "remote/OSCAddressHandler.h"

#include <QString>

#include <algorithm>
#include <cassert>
#include <charconv>
#include <climits>
#include <cmath>
#include <optional>
#include <span>
#include <string_view>

#include "documents/DocumentModel.h"
#include "remote/PublishedRanges.h"
#include "remote/RemoteWords.h"

namespace vistrel::app::OSCAddressHandler {

using OSCCodec::Message;
using OSCCodec::Value;
using viewport::LightingMode;

namespace {

using Pieces = std::span<const std::string>;

// NaN and infinity from the wire count as absent, so that no clamp or pose ever sees them.
std::optional<float> floatAt(const Message& m, int index) {
    auto f = m.floatAt(index);
    if (f && std::isfinite(*f)) return f;
    return std::nullopt;
}

std::optional<Float3> float3At(const Message& m, int first) {
    auto x = floatAt(m, first), y = floatAt(m, first + 1), z = floatAt(m, first + 2);
    if (!x || !y || !z) return std::nullopt;
    return Float3{*x, *y, *z};
}

// An integer argument as an index. Value::intValue ends the process on a float without a
// 64-bit value, so floats are checked here first; an integer beyond int becomes -1, which
// every command ignores as out of range.
std::optional<int> indexAt(const Message& m, int index) {
    if (index < 0 || size_t(index) >= m.arguments.size()) return std::nullopt;
    const Value& v = m.arguments[size_t(index)];
    if (v.kind() == Value::Kind::float32) {
        const double f = *v.doubleValue();
        if (!std::isfinite(f)) return std::nullopt;
        if (std::fabs(std::round(f)) > double(INT_MAX)) return -1;
    }
    auto n = v.intValue();
    if (!n) return std::nullopt;
    if (*n < INT_MIN || *n > INT_MAX) return -1;
    return int(*n);
}

std::optional<std::string> wordAt(const Message& m, int index) {
    auto s = m.stringAt(index);
    if (!s) return std::nullopt;
    return lowerCased(*s);
}

std::optional<int> decimalIndex(const std::string& piece) {
    int n = 0;
    const char* end = piece.data() + piece.size();
    auto [ptr, ec] = std::from_chars(piece.data(), end, n);
    if (ec != std::errc() || ptr != end) return std::nullopt;
    return n;
}

// With a wanted state, toggles only when it differs; without, always toggles.
bool shouldToggle(std::optional<bool> wanted, bool current) {
    return !wanted || *wanted != current;
}

void selectSceneNamed(const Message& m, DocumentModel& model) {
    auto name = m.stringAt(0);
    if (!name) return;
    if (auto index = sceneNamed(model, *name)) model.selectScene(*index);
}

void applyScene(Pieces rest, const Message& m, DocumentModel& model) {
    const std::string_view second = rest.empty() ? std::string_view() : rest[0];
    if (second == "next") return model.nextScene();
    if (second == "prev" || second == "previous") return model.previousScene();
    if (second == "name") return selectSceneNamed(m, model);
    // No keyword, "index" or any other word: a number selects by index, text by name.
    if (auto index = indexAt(m, 0)) return model.selectScene(*index);
    selectSceneNamed(m, model);
}

void applyLayerGroup(const Message& m, DocumentModel& model) {
    auto name = m.stringAt(0);
    if (!name) return;
    auto group = groupNamed(model, *name);
    if (!group) return;
    if (auto visible = m.boolAt(1)) return model.setLayerGroup(*group, *visible);
    const auto& visible = model.layerVisible();
    bool anyVisible = std::ranges::any_of(group->layerIndices, [&](int i) {
        return i >= 0 && size_t(i) < visible.size() && visible[size_t(i)];
    });
    model.setLayerGroup(*group, !anyVisible);
}

void applyLayerSolo(const Message& m, DocumentModel& model) {
    if (auto index = indexAt(m, 0)) return model.soloLayer(*index);
    auto name = m.stringAt(0);
    if (!name) return;
    if (auto index = layerNamed(model, *name)) return model.soloLayer(*index);
    if (auto group = groupNamed(model, *name)) model.soloLayerGroup(*group);
}

void applyLayer(Pieces rest, const Message& m, DocumentModel& model) {
    if (rest.empty()) return;
    const std::string& second = rest[0];
    if (second == "all") {
        if (auto visible = m.boolAt(0)) model.setAllLayers(*visible);
    } else if (second == "group") {
        applyLayerGroup(m, model);
    } else if (second == "solo") {
        applyLayerSolo(m, model);
    } else if (auto n = decimalIndex(second)) {
        const auto& visible = model.layerVisible();
        if (*n < 0 || size_t(*n) >= visible.size()) return;
        if (shouldToggle(m.boolAt(0), visible[size_t(*n)])) model.toggleLayer(*n);
    }
}

void applyLighting(Pieces rest, const Message& m, DocumentModel& model) {
    const std::string_view second = rest.empty() ? std::string_view() : rest[0];
    if (second == "ambient") {
        if (auto f = floatAt(m, 0)) model.setAmbientIntensity(*f);
    } else if (second.empty() || second == "mode") {
        auto word = wordAt(m, 0);
        if (!word) return;
        if (auto mode = lightingModeForWord(*word)) model.setLightingMode(*mode);
    }
}

float clampAzimuth(float degrees) {
    return std::clamp(degrees, -180.0f, 180.0f);
}

float clampElevation(float degrees) {
    return std::clamp(degrees, 8.0f, 85.0f);
}

void applySun(Pieces rest, const Message& m, DocumentModel& model) {
    const std::string_view second = rest.empty() ? std::string_view() : rest[0];
    if (second.empty() || second == "angles") {
        auto azimuth = floatAt(m, 0), elevation = floatAt(m, 1);
        if (azimuth && elevation) model.setSun(clampAzimuth(*azimuth), clampElevation(*elevation));
    } else if (second == "azimuth") {
        if (auto f = floatAt(m, 0)) model.setSun(clampAzimuth(*f), model.sunElevationDegrees());
    } else if (second == "elevation") {
        if (auto f = floatAt(m, 0)) model.setSun(model.sunAzimuthDegrees(), clampElevation(*f));
    } else if (second == "intensity" || second == "power") {
        if (auto f = floatAt(m, 0)) model.setSunIntensity(*f);
    } else if (second == "reset") {
        model.resetSun();
    }
}

void applyLight(Pieces rest, const Message& m, DocumentModel& model) {
    // Any message here switches to point lighting, whatever else it does.
    if (model.lightingMode() != LightingMode::point) model.setLightingMode(LightingMode::point);
    const std::string_view second = rest.empty() ? std::string_view("intensity") : rest[0];
    const auto selected = model.selectedPointLight();
    Float3 position = selected ? selected->position : Float3{0, 0, 0};
    if (second == "position") {
        if (auto p = float3At(m, 0)) model.updateSelectedPointLight(*p, std::nullopt);
    } else if (second == "x" || second == "y" || second == "z") {
        auto f = floatAt(m, 0);
        if (!f) return;
        (second == "x" ? position.x : second == "y" ? position.y : position.z) = *f;
        model.updateSelectedPointLight(position, std::nullopt);
    } else if (second == "intensity") {
        if (auto f = floatAt(m, 0)) model.updateSelectedPointLight(std::nullopt, *f);
    } else if (second == "gizmo") {
        if (shouldToggle(m.boolAt(0), model.showsPointLightGizmo())) model.togglePointLightGizmo();
    } else if (second == "center") {
        model.centerSelectedPointLight();
    } else if (second == "to_camera" || second == "camera") {
        model.moveSelectedPointLightToCamera();
    }
}

void applyBackdrop(Pieces rest, const Message& m, DocumentModel& model) {
    const std::string_view second = rest.empty() ? std::string_view() : rest[0];
    if (second.empty() || second == "style") {
        auto word = m.stringAt(0);
        if (!word) return;
        if (auto style = backdropStyleForWord(*word)) model.setBackdropStyle(*style);
    } else if (second == "color") {
        if (auto rgb = float3At(m, 0)) model.setCustomBackdropColor(*rgb);
    }
}

// Moves that are not a pose. A free camera is no longer a standard view; the published pose
// follows the view at once.
template <class Move>
void moveCamera(DocumentModel& model, Move&& move) {
    model.setActiveStandardView(std::nullopt);
    move(model.viewport());
    model.syncCameraStateFromViewport();
}

void applyCamera(Pieces rest, const Message& m, DocumentModel& model) {
    std::string sub;
    for (const std::string& piece : rest) sub += (sub.empty() ? "" : "/") + piece;
    if (sub.empty()) sub = "position";
    using View = viewport::ViewportView;
    const std::nullopt_t none = std::nullopt;
    Float3 position = model.cameraPosition();

    if (sub == "position" || sub == "pos") {
        if (auto p = float3At(m, 0)) model.setCameraPose(*p, none, none, none);
    } else if (sub == "x" || sub == "y" || sub == "z") {
        auto f = floatAt(m, 0);
        if (!f) return;
        (sub == "x" ? position.x : sub == "y" ? position.y : position.z) = *f;
        model.setCameraPose(position, none, none, none);
    } else if (sub == "target") {
        if (auto t = float3At(m, 0))
            moveCamera(model, [&](View& v) { v.setCameraTarget(*t, false); });
    } else if (sub == "lookat") {
        auto eye = float3At(m, 0), target = float3At(m, 3);
        if (eye && target)
            moveCamera(model, [&](View& v) { v.setCameraLookAt(*eye, *target, false); });
    } else if (sub == "orientation" || sub == "angles") {
        auto yaw = floatAt(m, 0), pitch = floatAt(m, 1);
        if (yaw && pitch) model.setCameraPose(none, *yaw, *pitch, none);
    } else if (sub == "yaw" || sub == "azimuth") {
        if (auto yaw = floatAt(m, 0)) model.setCameraPose(none, *yaw, none, none);
    } else if (sub == "pitch" || sub == "elevation" || sub == "tilt") {
        if (auto pitch = floatAt(m, 0)) model.setCameraPose(none, none, *pitch, none);
    } else if (sub == "distance" || sub == "dist") {
        if (auto d = floatAt(m, 0)) model.setCameraPose(none, none, none, *d);
    } else if (sub == "orbit") {
        const float yaw = floatAt(m, 0).value_or(0), pitch = floatAt(m, 1).value_or(0);
        moveCamera(model, [&](View& v) { v.orbitByDegrees(yaw, pitch); });
    } else if (sub == "fov") {
        if (auto f = floatAt(m, 0)) model.setCameraFOV(clampedTo(*f, PublishedRanges::fov));
    } else if (sub == "focal") {
        if (auto mm = floatAt(m, 0)) model.setCameraFocalLength(*mm);
    } else if (sub == "exposure") {
        if (auto f = floatAt(m, 0))
            model.setCameraExposure(clampedTo(*f, PublishedRanges::exposure));
    } else if (sub == "ortho_scale" || sub == "orthoscale") {
        if (auto f = floatAt(m, 0)) model.setCameraOrthoScale(std::clamp(*f, 0.05f, 10000.0f));
    } else if (sub == "perspective") {
        model.setPerspective(m.boolAt(0).value_or(!model.isPerspective()));
    } else if (sub == "speed") {
        if (auto f = floatAt(m, 0))
            model.setCameraSpeedScale(clampedTo(*f, PublishedRanges::acceptedSpeed));
    } else if (sub == "view") {
        auto word = wordAt(m, 0);
        if (!word) return;
        if (auto view = standardViewForWord(*word)) model.lookStandardView(*view);
    } else if (sub == "eye_height" || sub == "eyeheight") {
        model.setCameraEyeHeight(floatAt(m, 0).value_or(float(PublishedRanges::defaultEyeHeight)));
    } else if (sub == "center") {
        model.centerCameraInModel();
    } else if (sub == "level") {
        moveCamera(model, [](View& v) { v.levelHorizon(false); });
    } else if (sub == "reset") {
        model.resetView();
    } else if (sub == "zoom_extents" || sub == "zoomextents" || sub == "frame") {
        if (model.isReady()) model.viewport().zoomExtents(true);
    }
}

}  // namespace

void apply(const std::vector<std::string>& pieces, const Message& message, DocumentModel& model) {
    assert(!pieces.empty() && "the front ignores an address without pieces");
    if (pieces.empty()) return;
    const std::string& first = pieces[0];
    const Pieces rest = Pieces(pieces).subspan(1);
    if (first == "camera") {
        applyCamera(rest, message, model);
    } else if (first == "scene") {
        applyScene(rest, message, model);
    } else if (first == "layer") {
        applyLayer(rest, message, model);
    } else if (first == "style") {
        auto word = wordAt(message, 0);
        if (!word) return;
        if (auto style = shadingStyleForWord(*word)) model.setShadingStyle(*style);
    } else if (first == "edges") {
        if (shouldToggle(message.boolAt(0), model.showsEdges())) model.toggleEdges();
    } else if (first == "grid") {
        if (shouldToggle(message.boolAt(0), model.showsGrid())) model.toggleGrid();
    } else if (first == "shadows") {
        if (shouldToggle(message.boolAt(0), model.shadowsEnabled())) model.toggleShadows();
    } else if (first == "ssao") {
        if (auto f = floatAt(message, 0)) model.setAmbientOcclusionIntensity(*f);
    } else if (first == "ambient") {
        if (auto f = floatAt(message, 0)) model.setAmbientIntensity(*f);
    } else if (first == "lighting") {
        applyLighting(rest, message, model);
    } else if (first == "sun") {
        applySun(rest, message, model);
    } else if (first == "light") {
        applyLight(rest, message, model);
    } else if (first == "backdrop") {
        applyBackdrop(rest, message, model);
    }
}

std::vector<std::string> routePieces(const std::string& address) {
    std::vector<std::string> pieces;
    size_t start = 0;
    while (start <= address.size()) {
        size_t end = address.find('/', start);
        if (end == std::string::npos) end = address.size();
        if (end > start) pieces.emplace_back(address, start, end - start);
        start = end + 1;
    }
    if (!pieces.empty() && pieces[0] == "vistrel") pieces.erase(pieces.begin());
    return pieces;
}

}  // namespace vistrel::app::OSCAddressHandler

#include "shell/Preferences.h"

#include <cassert>
#include <charconv>
#include <cstdlib>
#include <cstring>

#include "settings/SettingsStore.h"
#include "vocabulary/DocumentSettings.h"

namespace vistrel::app::Preferences {

namespace {

constexpr viewport::DocumentSettings kFresh;
constexpr Float3 kDefaultCustomBackdrop = kFresh.customBackdropColor;

SettingsStore* gStore = nullptr;

float floatOr(const std::string& key, float fallback) {
    auto v = store().storedValue(key);
    return v && v->is_number() ? v->get<float>() : fallback;
}

}  // namespace

const nlohmann::json& defaults() {
    static const nlohmann::json d = {
        {"showSidebar", true},
        {"showsEdges", kFresh.showsEdges},
        {"showsGrid", kFresh.showsGrid},
        {"isPerspective", kFresh.isPerspective},
        {"shadowsEnabled", kFresh.shadowsEnabled},
        {"ambientOcclusionEnabled", kFresh.ambientOcclusionEnabled},
        {"ambientOcclusionIntensity", kFresh.ambientOcclusionIntensity},
        {"backdropStyle", std::string(viewport::rawValue(kFresh.backdropStyle))},
        {"customBackdropR", kDefaultCustomBackdrop.x},
        {"customBackdropG", kDefaultCustomBackdrop.y},
        {"customBackdropB", kDefaultCustomBackdrop.z},
        {"twoFingerScrollZooms", false},
        {"oscFeedbackEnabled", true},
        {"oscOutHost", "127.0.0.1"},
        {"oscOutPort", 9151},
        {"apiLoopbackOnly", false},
    };
    return d;
}

void registerDefaults() {
    store().registerDefaults(defaults());
}

void setStore(SettingsStore* s) {
    gStore = s;
}

SettingsStore& store() {
    return gStore ? *gStore : SettingsStore::standard();
}

bool boolValue(const std::string& key) {
    assert(defaults().contains(key) && defaults()[key].is_boolean());
    auto stored = store().storedValue(key);
    if (stored && stored->is_boolean()) return stored->get<bool>();
    return defaults()[key].get<bool>();
}

void setBool(const std::string& key, bool value) {
    assert(defaults().contains(key) && defaults()[key].is_boolean());
    store().set(key, value);
}

float ambientOcclusionIntensity() {
    return floatOr("ambientOcclusionIntensity", kFresh.ambientOcclusionIntensity);
}

void setAmbientOcclusionIntensity(float value) {
    store().set("ambientOcclusionIntensity", value);
}

Float3 customBackdropColor() {
    if (!store().contains("customBackdropR")) return kDefaultCustomBackdrop;
    return {floatOr("customBackdropR", kDefaultCustomBackdrop.x),
            floatOr("customBackdropG", kDefaultCustomBackdrop.y),
            floatOr("customBackdropB", kDefaultCustomBackdrop.z)};
}

void setCustomBackdropColor(Float3 c) {
    store().set("customBackdropR", c.x);
    store().set("customBackdropG", c.y);
    store().set("customBackdropB", c.z);
}

std::string backdropStyleRaw() {
    auto v = store().value("backdropStyle");
    return v && v->is_string() ? v->get<std::string>() : "architecturalSky";
}

void setBackdropStyleRaw(const std::string& raw) {
    store().set("backdropStyle", raw);
}

std::string oscOutHost() {
    auto v = store().value("oscOutHost");
    return v && v->is_string() ? v->get<std::string>() : "127.0.0.1";
}

void setOscOutHost(const std::string& host) {
    store().set("oscOutHost", host);
}

std::optional<uint16_t> parsePort(const char* text) {
    if (!text || !*text) return std::nullopt;
    if (*text == '+') ++text;
    unsigned value = 0;
    const char* end = text + std::strlen(text);
    auto [ptr, ec] = std::from_chars(text, end, value);
    if (ec != std::errc() || ptr != end || ptr == text || value > 65535) return std::nullopt;
    return uint16_t(value);
}

uint16_t oscOutPort() {
    if (auto port = parsePort(std::getenv("VISTREL_OSC_OUT_PORT"))) return *port;
    auto stored = store().storedValue("oscOutPort");
    if (stored && stored->is_number_integer()) {
        auto port = stored->get<int64_t>();
        if (port >= 1 && port <= 65535) return uint16_t(port);
    }
    return 9151;
}

void setOscOutPort(int port) {
    store().set("oscOutPort", port);
}

}  // namespace vistrel::app::Preferences

#include "remote/RemoteJSON.h"

#include <algorithm>
#include <array>
#include <charconv>
#include <cmath>
#include <limits>
#include <numbers>
#include <optional>
#include <string_view>
#include <utility>

#include "camera/CameraRig.h"
#include "documents/DocumentModel.h"
#include "model/TextFolding.h"
#include "remote/PublishedRanges.h"
#include "remote/RemoteValues.h"
#include "remote/RemoteWords.h"
#include "settings/AppVersion.h"
#include "settings/Localization.h"
#include "shell/Preferences.h"

namespace vistrel::app::RemoteJSON {

using nlohmann::json;
using viewport::BackdropStyle;
using viewport::LightingMode;
using viewport::ShadingStyle;
using viewport::StandardView;

namespace {

json triple(Float3 v) {
    return json::array({number(v.x), number(v.y), number(v.z)});
}

// JSON integers and floats alike; text, booleans and null are passed over.
std::optional<float> asNumber(const json* v) {
    if (!v || !v->is_number()) return std::nullopt;
    // A float conversion out of range is undefined; clients may send 1e300.
    constexpr double limit = std::numeric_limits<float>::max();
    return float(std::clamp(v->get<double>(), -limit, limit));
}

std::optional<std::string> lowercasedTextAt(const json& args, const char* key) {
    const auto text = textAt(args, key);
    return text ? std::optional(lowercased(*text)) : std::nullopt;
}

// At least three elements, the first three numbers.
std::optional<Float3> tripleAt(const json& args, const char* key) {
    const json* v = member(args, key);
    if (!v || !v->is_array() || v->size() < 3) return std::nullopt;
    auto x = asNumber(&(*v)[0]), y = asNumber(&(*v)[1]), z = asNumber(&(*v)[2]);
    if (!x || !y || !z) return std::nullopt;
    return Float3{*x, *y, *z};
}

bool layerIsVisible(const DocumentModel& model, const SKPModel& skp, int index) {
    const auto& visible = model.layerVisible();
    if (size_t(index) < visible.size()) return visible[size_t(index)];
    return skp.layers[size_t(index)].isVisible;
}

void appendEscaped(std::string& out, const json& scalar) {
    out += scalar.dump(-1, ' ', false, json::error_handler_t::replace);
}

void appendBody(std::string& out, const json& value, int depth) {
    const bool isObject = value.is_object();
    if ((!isObject && !value.is_array()) || value.empty()) {
        appendEscaped(out, value);
        return;
    }
    out += isObject ? "{\n" : "[\n";
    const std::string indent(size_t(2 * (depth + 1)), ' ');
    bool first = true;
    // nlohmann's default object is a std::map, so the keys come sorted.
    for (auto it = value.begin(); it != value.end(); ++it) {
        if (!first) out += ",\n";
        first = false;
        out += indent;
        if (isObject) {
            appendEscaped(out, json(it.key()));
            out += " : ";
        }
        appendBody(out, it.value(), depth + 1);
    }
    out += '\n';
    out.append(size_t(2 * depth), ' ');
    out += isObject ? '}' : ']';
}

}  // namespace

const json* member(const json& args, const char* key) {
    if (!args.is_object()) return nullptr;
    auto it = args.find(key);
    return it == args.end() ? nullptr : &*it;
}

std::optional<float> numberAt(const json& args, const char* key) {
    return asNumber(member(args, key));
}

std::optional<float> numberAt(const json& args, const char* key, const char* orElse) {
    auto v = numberAt(args, key);
    return v ? v : numberAt(args, orElse);
}

std::optional<std::string> textAt(const json& args, const char* key) {
    const json* v = member(args, key);
    if (!v || !v->is_string()) return std::nullopt;
    return v->get<std::string>();
}

std::optional<bool> boolAt(const json& args, const char* key) {
    const json* v = member(args, key);
    if (!v || !v->is_boolean()) return std::nullopt;
    return v->get<bool>();
}

json number(float value) {
    if (!std::isfinite(value)) return double(value);
    // The shortest text that reads back as this float, read as a double: 0.7f gives 0.7.
    std::array<char, 64> text{};
    auto written = std::to_chars(text.data(), text.data() + text.size(), value);
    double d = double(value);
    std::from_chars(text.data(), written.ptr, d);
    return d;
}

std::string bodyText(const json& value) {
    std::string out;
    appendBody(out, value, 0);
    return out;
}

json cameraDictionary(DocumentModel* model) {
    if (!model) return {{"ready", false}};
    const Float3 position = model->cameraPosition();
    // Before a scene there is no pose in the view; the last reported fields make one.
    constexpr float toRadians = std::numbers::pi_v<float> / 180.0f;
    const viewport::CameraRig::Pose pose = model->viewport().cameraPose().value_or(
        viewport::CameraRig::Pose{position, model->cameraYaw() * toRadians,
                                  model->cameraPitch() * toRadians, model->cameraDistance()});
    const float fov = model->cameraFOV();
    return {
        {"ready", model->isReady()},
        {"isPerspective", model->isPerspective()},
        {"position", triple(position)},
        {"target", triple(pose.target())},
        {"yawDegrees", number(reducedDegrees(model->cameraYaw()))},
        {"pitchDegrees", number(model->cameraPitch())},
        {"distance", number(model->cameraDistance())},
        {"fovDegrees", number(fov)},
        {"focalLengthMM", number(float(viewport::ViewportView::focalLengthMM(double(fov))))},
        {"exposure", number(model->cameraExposure())},
        {"orthoScale", number(model->cameraOrthoScale())},
        {"speedScale", number(model->cameraSpeedScale())},
    };
}

json renderingDictionary(DocumentModel* model) {
    if (!model) return json::object();
    json light = nullptr;
    if (auto selected = model->selectedPointLight())
        light = {{"name", selected->name},
                 {"position", triple(selected->position)},
                 {"intensity", number(selected->intensity)},
                 {"isFromScene", selected->isFromScene}};
    return {
        {"shadingStyle", viewport::rawValue(model->shadingStyle())},
        {"showsEdges", model->showsEdges()},
        {"showsGrid", model->showsGrid()},
        {"shadowsEnabled", model->shadowsEnabled()},
        {"ambientOcclusionEnabled", model->ambientOcclusionEnabled()},
        {"ambientOcclusionIntensity", number(model->ambientOcclusionIntensity())},
        {"lightingMode", viewport::rawValue(model->lightingMode())},
        {"ambientIntensity", number(model->ambientIntensity())},
        {"sunAzimuthDegrees", number(model->sunAzimuthDegrees())},
        {"sunElevationDegrees", number(model->sunElevationDegrees())},
        {"sunIntensity", number(model->sunIntensity())},
        {"pointLightCount", model->pointLights().size()},
        {"selectedPointLight", std::move(light)},
        {"showsPointLightGizmo", model->showsPointLightGizmo()},
        {"backdropStyle", viewport::rawValue(model->backdropStyle())},
        {"customBackdropColor", triple(model->customBackdropColor())},
    };
}

json stateDictionary(DocumentModel* model, const Endpoints& endpoints) {
    const AppVersion& version = AppVersion::current();
    json state = {
        {"app", "Vistrel"},
        {"version", version.shortVersion},
        {"build", version.build.value_or("")},
        {"oscInPort", endpoints.oscInPort},
        {"oscOutHost", Preferences::oscOutHost()},
        {"oscOutPort", Preferences::oscOutPort()},
        {"oscFeedbackEnabled", Preferences::boolValue("oscFeedbackEnabled")},
        {"apiPort", endpoints.apiPort},
        {"hasDocument", model != nullptr},
        {"isReady", model && model->isReady()},
        {"filePath", ""},
        {"versionLabel", ""},
        {"statusText", model ? model->statusText() : L("Aucun fichier ouvert", "No file open")},
        {"dimensionsMetres", triple({0, 0, 0})},
        {"boundsMin", json::array()},
        {"boundsMax", json::array()},
        {"stats", {{"faces", 0}, {"edges", 0}, {"instances", 0}, {"materials", 0}}},
        {"camera", cameraDictionary(model)},
        {"rendering", renderingDictionary(model)},
        {"selectedScene", nullptr},
        {"scenes", json::array()},
        {"layers", json::array()},
        {"layerGroups", json::array()},
    };
    if (!model) return state;

    if (const auto& info = model->info()) {
        state["filePath"] = info->url.string();
        state["versionLabel"] = info->versionLabel.value_or("");
    }
    if (auto scene = model->selectedScene()) state["selectedScene"] = *scene;
    const SKPModel* skp = model->skp();
    if (auto size = model->visibleSize())
        state["dimensionsMetres"] = triple(*size);
    else if (skp)
        state["dimensionsMetres"] = triple(skp->size());
    if (!skp) return state;

    state["boundsMin"] = triple(skp->boundsMin);
    state["boundsMax"] = triple(skp->boundsMax);
    state["stats"] = {{"faces", skp->stats.faces},
                      {"edges", skp->stats.edges},
                      {"instances", skp->stats.instances},
                      {"materials", skp->materials.size()}};
    json& scenes = state["scenes"];
    for (size_t i = 0; i < skp->scenes.size(); ++i)
        scenes.push_back({{"index", i},
                          {"name", skp->scenes[i].name},
                          {"hasCamera", skp->scenes[i].camera.has_value()},
                          {"selected", model->selectedScene() == int(i)}});
    json& layers = state["layers"];
    for (size_t i = 0; i < skp->layers.size(); ++i)
        layers.push_back({{"index", i},
                          {"name", skp->layers[i].name},
                          {"visible", layerIsVisible(*model, *skp, int(i))}});
    json& groups = state["layerGroups"];
    for (const LayerGroup& group : skp->layerGroups()) {
        if (group.isSingle()) continue;
        auto visible =
            std::count_if(group.layerIndices.begin(), group.layerIndices.end(),
                          [&](int index) { return layerIsVisible(*model, *skp, index); });
        groups.push_back({{"id", group.id},
                          {"name", group.name},
                          {"layerIndices", group.layerIndices},
                          {"visibleCount", visible},
                          {"totalCount", group.layerIndices.size()}});
    }
    return state;
}

json helpDictionary(const Endpoints& endpoints,
                    const std::vector<OSCQueryParameterSpec>& parameters) {
    json addresses = json::array();
    for (const auto& p : parameters)
        addresses.push_back(p.path + " [" + p.typeTag + "] — " + p.description);
    return {
        {"app", "Vistrel"},
        {"oscInPort", endpoints.oscInPort},
        {"oscOutPort", Preferences::oscOutPort()},
        {"apiPort", endpoints.apiPort},
        {"bonjourServices", {"_oscjson._tcp.", "_osc._udp."}},
        {"httpEndpoints",
         {
             "GET /?HOST_INFO (OSCQuery host info for Partivox)",
             "GET / (OSCQuery full parameter namespace for Partivox)",
             "GET /v1/state",
             "GET /v1/help",
             "GET /v1/camera",
             R"(POST /v1/camera {"position":[x,y,z],"target":[tx,ty,tz],"yaw":0,"pitch":-15,)"
             R"("distance":25,"fov":35,"focalLengthMM":38,"exposure":-0.62,"perspective":true,)"
             R"("action":"reset|zoom_extents|level|eye_height|center"})",
             R"(POST /v1/open {"path":"/path/to/model.skp"})",
             R"(POST /v1/scene {"index":0, "name":"Scene 1", "action":"next|prev"})",
             R"(POST /v1/layers {"all":true, "solo":0, "index":1, "visible":false})",
             R"(POST /v1/rendering {"style":"textured|clay|xray|wireframe","edges":true,)"
             R"("grid":false,"shadows":true,"ssao":0.7,"lightingMode":"sun|point",)"
             R"("sunAzimuth":-135,"sunElevation":45,"lightPosition":[x,y,z],"lightIntensity":1.0,)"
             R"("backdropStyle":"architecturalSky|studioDark|warmPaper|customColor",)"
             R"("backdropColor":[r,g,b]})",
             "GET /v1/snapshot.png",
         }},
        {"oscAddresses", std::move(addresses)},
    };
}

void applyCameraJSON(const json& args, DocumentModel& model) {
    auto& view = model.viewport();

    if (auto action = lowercasedTextAt(args, "action")) {
        if (*action == "reset") {
            model.resetView();
        } else if (*action == "zoom_extents" || *action == "zoomextents" || *action == "frame") {
            if (model.isReady()) view.zoomExtents(true);
        } else if (*action == "level") {
            model.setActiveStandardView(std::nullopt);
            view.levelHorizon(false);
            model.syncCameraStateFromViewport();
        } else if (*action == "eye_height" || *action == "eyeheight") {
            model.setCameraEyeHeight(
                numberAt(args, "eyeHeight").value_or(float(PublishedRanges::defaultEyeHeight)));
        } else if (*action == "center") {
            model.centerCameraInModel();
        }
    }

    auto word = lowercasedTextAt(args, "standardView");
    if (!word) word = lowercasedTextAt(args, "view");
    if (word)
        if (auto standard = standardViewForWord(*word)) model.lookStandardView(*standard);

    if (auto perspective = boolAt(args, "perspective")) model.setPerspective(*perspective);
    if (auto fov = numberAt(args, "fov")) model.setCameraFOV(clampedTo(*fov, PublishedRanges::fov));
    if (auto mm = numberAt(args, "focalLengthMM", "focal")) model.setCameraFocalLength(*mm);
    if (auto exposure = numberAt(args, "exposure"))
        model.setCameraExposure(clampedTo(*exposure, PublishedRanges::exposure));
    if (auto scale = numberAt(args, "orthoScale"))
        model.setCameraOrthoScale(std::clamp(*scale, 0.05f, 10000.0f));
    if (auto speed = numberAt(args, "speedScale", "speed"))
        model.setCameraSpeedScale(clampedTo(*speed, PublishedRanges::acceptedSpeed));

    Float3 position = model.cameraPosition();
    bool moved = false;
    if (auto p = tripleAt(args, "position")) {
        position = *p;
        moved = true;
    }
    for (auto [key, coordinate] :
         {std::pair{"x", &position.x}, std::pair{"y", &position.y}, std::pair{"z", &position.z}})
        if (auto v = numberAt(args, key)) {
            *coordinate = *v;
            moved = true;
        }
    if (moved) model.setCameraPose(position, std::nullopt, std::nullopt, std::nullopt);

    if (auto target = tripleAt(args, "target")) {
        model.setActiveStandardView(std::nullopt);
        view.setCameraTarget(*target, false);
        model.syncCameraStateFromViewport();
    }

    auto yaw = numberAt(args, "yaw"), pitch = numberAt(args, "pitch");
    if (yaw || pitch) model.setCameraPose(std::nullopt, yaw, pitch, std::nullopt);
    if (auto distance = numberAt(args, "distance"))
        model.setCameraPose(std::nullopt, std::nullopt, std::nullopt, *distance);
}

void applyRenderingJSON(const json& args, DocumentModel& model) {
    if (auto word = lowercasedTextAt(args, "style"))
        if (auto style = shadingStyleForWord(*word)) model.setShadingStyle(*style);
    if (auto edges = boolAt(args, "edges"); edges && *edges != model.showsEdges())
        model.toggleEdges();
    if (auto grid = boolAt(args, "grid"); grid && *grid != model.showsGrid()) model.toggleGrid();
    if (auto shadows = boolAt(args, "shadows"); shadows && *shadows != model.shadowsEnabled())
        model.toggleShadows();
    if (auto ssao = numberAt(args, "ssao")) model.setAmbientOcclusionIntensity(*ssao);

    if (auto mode = lowercasedTextAt(args, "lightingMode")) {
        if (*mode == "point" || *mode == "omni")
            model.setLightingMode(LightingMode::point);
        else if (*mode == "sun")
            model.setLightingMode(LightingMode::sun);
    }

    // No clamps here, unlike the OSC route: HTTP clients may park the sun anywhere.
    auto azimuth = numberAt(args, "sunAzimuth"), elevation = numberAt(args, "sunElevation");
    if (azimuth || elevation)
        model.setSun(azimuth.value_or(model.sunAzimuthDegrees()),
                     elevation.value_or(model.sunElevationDegrees()));
    if (auto intensity = numberAt(args, "sunIntensity")) model.setSunIntensity(*intensity);
    if (auto ambient = numberAt(args, "ambientIntensity", "ambient"))
        model.setAmbientIntensity(*ambient);

    auto toPointMode = [&] {
        if (model.lightingMode() != LightingMode::point) model.setLightingMode(LightingMode::point);
    };
    if (auto position = tripleAt(args, "lightPosition")) {
        toPointMode();
        model.updateSelectedPointLight(*position, std::nullopt);
    }
    if (auto intensity = numberAt(args, "lightIntensity")) {
        toPointMode();
        model.updateSelectedPointLight(std::nullopt, *intensity);
    }
    if (auto gizmo = boolAt(args, "lightGizmo"); gizmo && *gizmo != model.showsPointLightGizmo())
        model.togglePointLightGizmo();

    if (const json* v = member(args, "backdropStyle"); v && v->is_string())
        if (auto style = backdropStyleForRawName(v->get_ref<const std::string&>()))
            model.setBackdropStyle(*style);
    if (auto color = tripleAt(args, "backdropColor")) model.setCustomBackdropColor(*color);
}

}  // namespace vistrel::app::RemoteJSON

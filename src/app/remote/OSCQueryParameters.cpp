#include "remote/OSCQueryParameters.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <string>
#include <utility>

#include "documents/DocumentModel.h"
#include "remote/PublishedRanges.h"
#include "remote/RemoteValues.h"
#include "view/ViewportView.h"
#include "vocabulary/Rendering.h"

namespace vistrel::app {

namespace {

using nlohmann::json;
using Range = std::pair<double, double>;

// StandardView has no raw values; these are the words remote clients read back.
constexpr std::array<const char*, 7> standardViewNames{"iso",  "top",  "bottom", "front",
                                                       "back", "left", "right"};

// Everything the rows report, holding the no-document column until a model fills it in.
struct Readings {
    std::array<double, 3> position{0, 0, 0};
    std::array<double, 3> target{0, 1, 0};
    double yaw = 0, pitch = 0, distance = 10, fov = 35, focal = 38, exposure = -0.62;
    double orthoScale = 5, speed = 1;
    int perspective = 1;
    std::string view = "iso";
    int sceneCount = 1, sceneIndex = 0;
    std::string sceneName;
    std::string style = "textured";
    int edges = 1, grid = 0, shadows = 1;
    double ssao = 0;
    std::string lightingMode = "sun";
    double ambient = 1;
    double sunAzimuth = -135, sunElevation = 45, sunIntensity = 1;
    std::array<double, 3> light{0, 0, 0};
    double lightIntensity = 1;
    std::string backdrop = "architecturalSky";
    Float3 backdropColor = viewport::Rendering::defaultCustomBackdropColor;
};

std::array<double, 3> widened(Float3 v) {
    return {double(v.x), double(v.y), double(v.z)};
}

Readings readings(DocumentModel& m) {
    Readings s;
    s.position = widened(m.cameraPosition());
    if (auto pose = m.viewport().cameraPose()) s.target = widened(pose->target());
    s.yaw = double(reducedDegrees(m.cameraYaw()));
    s.pitch = double(m.cameraPitch());
    s.distance = double(m.cameraDistance());
    s.fov = double(m.cameraFOV());
    s.focal = viewport::ViewportView::focalLengthMM(double(m.cameraFOV()));
    s.exposure = double(m.cameraExposure());
    s.orthoScale = double(m.cameraOrthoScale());
    s.speed = double(m.cameraSpeedScale());
    s.perspective = m.isPerspective() ? 1 : 0;
    if (auto view = m.activeStandardView()) s.view = standardViewNames[size_t(*view)];

    const std::vector<Scene>* scenes = m.skp() ? &m.skp()->scenes : nullptr;
    s.sceneCount = std::max(scenes ? int(scenes->size()) : 0, 1);
    s.sceneIndex = m.selectedScene().value_or(0);
    if (auto i = m.selectedScene(); scenes && i && *i >= 0 && size_t(*i) < scenes->size())
        s.sceneName = (*scenes)[size_t(*i)].name;

    s.style = viewport::rawValue(m.shadingStyle());
    s.edges = m.showsEdges() ? 1 : 0;
    s.grid = m.showsGrid() ? 1 : 0;
    s.shadows = m.shadowsEnabled() ? 1 : 0;
    s.ssao = m.ambientOcclusionEnabled() ? double(m.ambientOcclusionIntensity()) : 0;
    s.lightingMode = viewport::rawValue(m.lightingMode());
    s.ambient = double(m.ambientIntensity());
    s.sunAzimuth = double(m.sunAzimuthDegrees());
    s.sunElevation = double(m.sunElevationDegrees());
    s.sunIntensity = double(m.sunIntensity());
    if (auto light = m.selectedPointLight()) {
        s.light = widened(light->position);
        s.lightIntensity = double(light->intensity);
    }
    s.backdrop = viewport::rawValue(m.backdropStyle());
    s.backdropColor = m.customBackdropColor();
    return s;
}

}  // namespace

std::vector<OSCQueryParameterSpec> oscQueryParameters(DocumentModel* model) {
    const Readings s = model ? readings(*model) : Readings{};
    using R = PublishedRanges;
    const R ranges = publishedRanges(model);
    std::vector<OSCQueryParameterSpec> rows;
    rows.reserve(43);
    auto row = [&](const char* path, const char* tags, std::optional<Range> range,
                   std::vector<json> values, const char* description) {
        OSCQueryParameterSpec parameter;
        parameter.path = path;
        parameter.typeTag = tags;
        parameter.description = description;
        parameter.values = std::move(values);
        if (range) {
            parameter.min = range->first;
            parameter.max = range->second;
        }
        rows.push_back(std::move(parameter));
    };
    auto trigger = [&](const char* path, const char* description) {
        OSCQueryParameterSpec parameter;
        parameter.path = path;
        parameter.typeTag = "I";
        parameter.access = 2;
        parameter.description = description;
        rows.push_back(std::move(parameter));
    };
    const auto& p = s.position;
    const auto& t = s.target;
    const Range flag{0, 1};
    const Range angle = R::angle, coordinates = ranges.coordinates;

    row("/vistrel/camera/position", "fff", coordinates, {p[0], p[1], p[2]},
        "Position 3D de la caméra (X, Y, Z en mètres)");
    row("/vistrel/camera/target", "fff", coordinates, {t[0], t[1], t[2]},
        "Point visé 3D par la caméra (X, Y, Z en mètres)");
    row("/vistrel/camera/orientation", "ff", angle, {s.yaw, s.pitch},
        "Orientation caméra : Azimut/Lacet (-180..180°) et Inclinaison/Tangage (-89..89°)");
    row("/vistrel/camera/lookat", "ffffff", coordinates, {p[0], p[1], p[2], t[0], t[1], t[2]},
        "Position caméra (X,Y,Z) et point visé (TX,TY,TZ) simultanés en mètres");
    row("/vistrel/camera/x", "f", coordinates, {p[0]}, "Position caméra X (mètres)");
    row("/vistrel/camera/y", "f", coordinates, {p[1]}, "Position caméra Y (mètres)");
    row("/vistrel/camera/z", "f", coordinates, {p[2]}, "Position caméra Z / hauteur (mètres)");
    row("/vistrel/camera/yaw", "f", angle, {s.yaw}, "Azimut / Lacet caméra en degrés (-180..180°)");
    row("/vistrel/camera/pitch", "f", R::pitch, {s.pitch},
        "Inclinaison / Tangage caméra en degrés (-89..89°)");
    row("/vistrel/camera/distance", "f", ranges.distances, {s.distance},
        "Distance de la caméra à la cible d'orbite (mètres)");
    row("/vistrel/camera/fov", "f", R::fov, {s.fov},
        "Angle d'ouverture vertical de la caméra (FOV 10..120°)");
    row("/vistrel/camera/focal", "f", R::focal, {s.focal},
        "Focale équivalente 24x36 de la caméra (5..135 mm)");
    row("/vistrel/camera/exposure", "f", R::exposure, {s.exposure},
        "Exposition HDR de la caméra (-3..+3 EV)");
    row("/vistrel/camera/ortho_scale", "f", ranges.orthoScale(), {s.orthoScale},
        "Demi-hauteur orthographique en projection parallèle (mètres)");
    row("/vistrel/camera/perspective", "i", flag, {s.perspective},
        "Projection perspective (1) ou parallèle (0)");
    row("/vistrel/camera/speed", "f", R::speed, {s.speed},
        "Multiplicateur de vitesse de déplacement caméra (0.1..16)");
    row("/vistrel/camera/view", "s", std::nullopt, {s.view},
        "Vue standard (iso, top, bottom, front, back, left, right)");
    // Eye height is an action, not a kept state: the row shows the usual height.
    row("/vistrel/camera/eye_height", "f", R::eyeHeight, {R::defaultEyeHeight},
        "Place la caméra à hauteur d'oeil au-dessus du sol (défaut 1.70 m) et met l'horizon "
        "droit");
    trigger("/vistrel/camera/level", "Remet l'horizon de la caméra à plat (tangage 0°)");
    trigger("/vistrel/camera/reset", "Réinitialise la caméra à la vue initiale du fichier (Z)");
    trigger("/vistrel/camera/zoom_extents", "Cadre l'ensemble du modèle visible (Zoom étendu ⇧Z)");

    row("/vistrel/scene/index", "i", Range{0, s.sceneCount - 1}, {s.sceneIndex},
        "Indice de la scène SketchUp active (0..N-1)");
    row("/vistrel/scene/name", "s", std::nullopt, {s.sceneName},
        "Nom de la scène SketchUp à activer");
    trigger("/vistrel/scene/next", "Passe à la scène suivante (⌘])");
    trigger("/vistrel/scene/prev", "Passe à la scène précédente (⌘[)");

    row("/vistrel/style", "s", std::nullopt, {s.style},
        "Style de rendu (textured, clay, xray, wireframe)");
    row("/vistrel/edges", "i", flag, {s.edges}, "Afficher les arêtes (0 ou 1)");
    row("/vistrel/grid", "i", flag, {s.grid}, "Afficher la grille et les axes XYZ (0 ou 1)");
    row("/vistrel/shadows", "i", flag, {s.shadows},
        "Activer les ombres portées du soleil (0 ou 1)");
    row("/vistrel/ssao", "f", R::ambientOcclusion, {s.ssao},
        "Importance de l'occlusion ambiante SSAO (0.0..2.0)");

    row("/vistrel/lighting/mode", "s", std::nullopt, {s.lightingMode},
        "Mode d'éclairage (sun ou point)");
    row("/vistrel/lighting/ambient", "f", R::ambient, {s.ambient},
        "Puissance de la lumière ambiante (0.0..2.0, 0 = noir complet quand les lumières sont "
        "à 0%)");
    row("/vistrel/sun/angles", "ff", angle, {s.sunAzimuth, s.sunElevation},
        "Orientation du soleil : Azimut (-180..180°) et Hauteur (8..85°)");
    row("/vistrel/sun/azimuth", "f", angle, {s.sunAzimuth}, "Azimut du soleil (-180..180°)");
    row("/vistrel/sun/elevation", "f", R::sunElevation, {s.sunElevation},
        "Hauteur du soleil (8..85°)");
    row("/vistrel/sun/intensity", "f", R::sunIntensity, {s.sunIntensity},
        "Puissance du soleil (0.0..3.0)");
    row("/vistrel/light/position", "fff", coordinates, {s.light[0], s.light[1], s.light[2]},
        "Position 3D de la lumière ponctuelle active (X, Y, Z en mètres)");
    row("/vistrel/light/x", "f", coordinates, {s.light[0]},
        "Coordonnée X de la lumière ponctuelle (mètres)");
    row("/vistrel/light/y", "f", coordinates, {s.light[1]},
        "Coordonnée Y de la lumière ponctuelle (mètres)");
    row("/vistrel/light/z", "f", coordinates, {s.light[2]},
        "Coordonnée Z de la lumière ponctuelle (mètres)");
    row("/vistrel/light/intensity", "f", R::lightIntensity, {s.lightIntensity},
        "Intensité de la lumière ponctuelle (0.0..3.0)");

    row("/vistrel/backdrop/style", "s", std::nullopt, {s.backdrop},
        "Style de fond (architecturalSky, studioDark, warmPaper, customColor)");
    const Float3 c = s.backdropColor;
    row("/vistrel/backdrop/color", "ffff", Range{0, 1},
        {double(c.x), double(c.y), double(c.z), 1.0},
        "Couleur personnalisée du fond (R, G, B, A entre 0 et 1)");
    rows.back().unit = std::vector<std::string>{"color.rgba"};
    return rows;
}

}  // namespace vistrel::app

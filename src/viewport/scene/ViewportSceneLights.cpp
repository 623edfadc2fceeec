// The light rig of ViewportScene (sun with sky and fill, or point lights), light fixtures found
// by name in the model, the point-light gizmo and the reference grid.
#include <algorithm>
#include <cmath>
#include <limits>
#include <numbers>

#include "model/TextFolding.h"
#include "scene/ViewportScene.h"
#include "settings/Localization.h"

namespace vistrel::viewport {

namespace {

constexpr float kPi = std::numbers::pi_v<float>;
constexpr float kInf = std::numeric_limits<float>::infinity();

float radians(float degrees) {
    return degrees * kPi / 180;
}

// A rotation whose local -Z looks along `forward` with +Y towards `up`: the orientation of a
// directional or spot light shining along `forward`.
Float4x4 lookRotation(Float3 forward, Float3 up) {
    Float3 z = normalize(-forward);
    Float3 x = cross(up, z);
    if (length(x) < 1e-6f) x = cross(Float3{1, 0, 0}, z);
    x = normalize(x);
    Float3 y = cross(z, x);
    Float4x4 r;
    r.m = {x.x, x.y, x.z, 0, y.x, y.y, y.z, 0, z.x, z.y, z.z, 0, 0, 0, 0, 1};
    return r;
}

std::shared_ptr<Material> constantMaterial(Float4 color, bool readsDepth) {
    auto m = std::make_shared<Material>();
    m->lightingModel = Material::LightingModel::constant;
    m->diffuseColor = color;
    m->readsFromDepthBuffer = readsDepth;
    m->writesToDepthBuffer = false;
    return m;
}

std::shared_ptr<Geometry> lineGeometry(const std::vector<Float3>& points) {
    auto g = std::make_shared<Geometry>();
    g->primitive = Geometry::Primitive::lines;
    g->positions = Buffer<Float3>(points.size());
    std::copy(points.begin(), points.end(), g->positions.data());
    g->computeBounds();
    return g;
}

std::shared_ptr<SceneNode> lineNode(const std::vector<Float3>& points, Float4 color, int order) {
    auto n = SceneNode::make();
    n->geometry = lineGeometry(points);
    n->materials = {constantMaterial(color, true)};
    n->categoryBitMask = 2;
    n->castsShadow = false;
    n->renderingOrder = order;
    return n;
}

bool isWordBoundary(char c) {
    return c == ' ' || c == '_' || c == '-';
}

}  // namespace

void ViewportScene::createLights() {
    fill_ = SceneNode::make();
    Light fill;
    fill.type = Light::Type::ambient;
    fill.intensity = 140;
    fill_->light = fill;

    sun_ = SceneNode::make("sun");
    Light sun;
    sun.type = Light::Type::directional;
    sun.intensity = 1050;
    sun.temperature = 5800;
    sun.castsShadow = true;
    sun.shadowRadius = 3;
    sun.shadowSampleCount = 8;
    sun.automaticallyAdjustsShadowProjection = true;
    sun.shadowColor = {0.05f, 0.07f, 0.12f, 0.48f};
    sun_->light = sun;
    setShadowQuality(true);

    skyFill_ = SceneNode::make("skyFill");
    Light sky;
    sky.type = Light::Type::directional;
    sky.intensity = 220;
    sky.temperature = 7500;
    sky.castsShadow = false;
    skyFill_->light = sky;

    pointLightsRoot_ = SceneNode::make("pointLights");
    pointLightsRoot_->isHidden = true;
    modelRoot_->addChild(sun_);
    modelRoot_->addChild(skyFill_);
    modelRoot_->addChild(pointLightsRoot_);

    detectedSceneLights_ = extractSceneLights();
    if (!detectedSceneLights_.empty()) pointLights_ = detectedSceneLights_;
    updateSunDirection();
    Bounds b = visibleBounds();
    sun_->light->maximumShadowDistance = 4 * length(b.max - b.min);
    updateLightingModeAndPointLights();
}

void ViewportScene::updateSunDirection() {
    const float a = radians(sunAzimuthDegrees_);
    // The sun never stands fully overhead nor drops under the horizon, whatever the slider says.
    const float e = std::clamp(radians(sunElevationDegrees_), radians(5), 1.53589f);
    const Float3 l = -Float3{std::cos(a) * std::cos(e), std::sin(a) * std::cos(e), std::sin(e)};
    sun_->transform = lookRotation(l, {0, 0, 1});
    const float b = a + kPi;
    const Float3 s{-0.882948f * std::cos(b), -0.882948f * std::sin(b), -0.469472f};
    skyFill_->transform = lookRotation(s, {0, 0, 1});
}

void ViewportScene::updateLightingModeAndPointLights() {
    const float ambient = std::pow(std::max(ambientIntensity_, 0.0f), 1.25f);
    const bool point = lightingMode_ == LightingMode::point;
    sun_->light->intensity = point ? 0 : std::pow(std::max(sunIntensity_, 0.0f), 1.25f) * 1050;
    sun_->light->castsShadow = !point && shadowsEnabled_ && sunIntensity_ > 0.001f;
    skyFill_->light->intensity = (point ? 45 : 220) * ambient;
    lightingEnvironmentIntensity_ = (point ? 0.28f : 1.05f) * ambient;
    fill_->light->intensity = (point ? 65 : 140) * ambient;
    pointLightsRoot_->isHidden = !point;
    if (!point) {
        while (!pointLightsRoot_->children().empty())
            pointLightsRoot_->children().back()->removeFromParent();
        return;
    }
    const Bounds b = visibleBounds();
    const Float3 extent = b.max - b.min;
    const float d = std::max(length(extent), 1.0f);
    const float m = std::max(std::min({extent.x, extent.y, extent.z}), 0.5f);
    const float nearDist = std::max(std::min(d * 0.22f, m * 0.48f), 0.5f);
    const float gizmoRadius = std::max(d * 0.018f, 0.06f);
    const int mapSize = shadowQualityIsHigh_ ? 1024 : 512;
    const int samples = shadowQualityIsHigh_ ? 8 : 4;

    while (pointLightsRoot_->children().size() > pointLights_.size())
        pointLightsRoot_->children().back()->removeFromParent();
    // One omni light per point light, where six spots back to back would exhaust the renderer's
    // local lights after five point lights; it casts its shadow through a cube of six views.
    while (pointLightsRoot_->children().size() < pointLights_.size()) {
        auto node = SceneNode::make();
        auto rig = SceneNode::make("pointLightShadowRig");
        Light l;
        l.type = Light::Type::omni;
        l.temperature = 5400;
        l.attenuationFalloffExponent = 1.85f;
        l.shadowRadius = 2.8f;
        l.automaticallyAdjustsShadowProjection = true;
        rig->light = l;
        node->addChild(rig);
        pointLightsRoot_->addChild(node);
    }
    for (size_t i = 0; i < pointLights_.size(); ++i) {
        const ViewportPointLight& pl = pointLights_[i];
        SceneNode& node = *pointLightsRoot_->children()[i];
        node.name = pl.name;
        node.transform = Float4x4::translation(pl.position);
        const float p = std::pow(std::max(pl.intensity, 0.0f), 1.35f);
        // Only the first two lights cast shadows: twelve shadow views is the budget.
        const bool shadows = shadowsEnabled_ && pl.intensity > 0.001f && i < 2;
        {
            Light& l = *node.children()[0]->light;
            l.intensity = p * 2400 * 0.86f;
            l.attenuationStartDistance = nearDist * 0.08f;
            l.attenuationEndDistance = d * 0.65f;
            l.zNear = std::max(m * 0.02f, 0.05f);
            l.zFar = std::max(d * 1.4f, 8.0f);
            l.shadowMapSize = mapSize;
            l.shadowSampleCount = samples;
            l.castsShadow = shadows;
        }
        // The gizmo is rebuilt when the light changes origin or the bounds change its size.
        if (node.children().size() > 1) node.children()[1]->removeFromParent();
        auto gizmo = makePointLightGizmo(gizmoRadius, pl.isFromScene);
        gizmo->isHidden = !showsPointLightGizmo_;
        node.addChild(gizmo);
    }
}

void ViewportScene::resetSun() {
    sunAzimuthDegrees_ = -135;
    sunElevationDegrees_ = 45;
    sunIntensity_ = 1;
    updateSunDirection();
    updateLightingModeAndPointLights();
}

void ViewportScene::setShadowQuality(bool high) {
    shadowQualityIsHigh_ = high;
    sun_->light->shadowCascadeCount = high ? 3 : 1;
    sun_->light->shadowMapSize = high ? 2048 : 1024;
    if (lightingMode_ == LightingMode::point && pointLightsRoot_)
        updateLightingModeAndPointLights();
}

void ViewportScene::setSunAzimuthDegrees(float d) {
    sunAzimuthDegrees_ = d;
    updateSunDirection();
}
void ViewportScene::setSunElevationDegrees(float d) {
    sunElevationDegrees_ = d;
    updateSunDirection();
}
void ViewportScene::setSunIntensity(float v) {
    sunIntensity_ = v;
    updateLightingModeAndPointLights();
}
void ViewportScene::setAmbientIntensity(float v) {
    ambientIntensity_ = v;
    updateLightingModeAndPointLights();
}
void ViewportScene::setShadowsEnabled(bool e) {
    shadowsEnabled_ = e;
    updateLightingModeAndPointLights();
}
void ViewportScene::setPointLights(std::vector<ViewportPointLight> lights) {
    pointLights_ = std::move(lights);
    updateLightingModeAndPointLights();
}
void ViewportScene::setShowsPointLightGizmo(bool s) {
    showsPointLightGizmo_ = s;
    updateLightingModeAndPointLights();
}

Float3 ViewportScene::defaultPointLightPosition() {
    Bounds b = visibleBounds();
    return (b.min + b.max) * 0.5f;
}

void ViewportScene::setLightingMode(LightingMode mode) {
    lightingMode_ = mode;
    if (mode == LightingMode::point && pointLights_.empty()) {
        if (!detectedSceneLights_.empty()) {
            pointLights_ = detectedSceneLights_;
        } else {
            pointLights_.push_back(
                {Uuid::random(), L("Lumière 1", "Light 1"), defaultPointLightPosition(), 1, false});
        }
    }
    updateLightingModeAndPointLights();
}

void ViewportScene::setShowsGrid(bool shows) {
    showsGrid_ = shows;
    if (shows && !gridNode_) {
        gridNode_ = buildGridNode();
        modelRoot_->addChild(gridNode_);
    }
    if (gridNode_) gridNode_->isHidden = !shows;
}

bool ViewportScene::matchesLightName(std::string_view name) {
    const std::string n = foldCaseAndDiacritics(name);
    if (n.empty()) return false;
    for (const char* excluded : {"lightweight", "highlight", "daylight", "skylight", "moonlight"})
        if (n.find(excluded) != std::string::npos) return false;
    static const char* keywords[] = {"pointlight", "point_light", "point light", "omnilight",
                                     "omni_light", "vraylight",   "enscape",     "lumiere",
                                     "lumière",    "ampoule",     "projecteur",  "spot",
                                     "fresnel",    "decoupe",     "découpe",     "svoboda",
                                     "light",      "lamp",        "bulb"};
    for (const char* k : keywords) {
        const std::string_view kw(k);
        if (n == kw) return true;
        if (n.size() > kw.size() && n.starts_with(kw) && isWordBoundary(n[kw.size()])) return true;
        if (n.size() > kw.size() && n.ends_with(kw) && isWordBoundary(n[n.size() - kw.size() - 1]))
            return true;
        for (const char* wrap : {" ", "_"}) {
            const std::string inner = wrap + std::string(kw) + wrap;
            if (n.find(inner) != std::string::npos) return true;
        }
    }
    return false;
}

std::vector<ViewportPointLight> ViewportScene::extractSceneLights() const {
    std::vector<ViewportPointLight> found;
    // Names are matched once each, not once per placement: a plan has millions of placements
    // of a few dozen blocks on a few hundred layers.
    std::vector<bool> definitionNamed(model_.definitions.size());
    for (size_t i = 0; i < model_.definitions.size(); ++i)
        definitionNamed[i] = matchesLightName(model_.definitions[i].name);
    std::vector<bool> layerNamed(model_.layers.size());
    for (size_t i = 0; i < model_.layers.size(); ++i)
        layerNamed[i] = matchesLightName(model_.layers[i].name);
    for (const Placement& p : placements_) {
        if (p.definition < 0) continue;
        const std::vector<int>& placed = layers(p);
        if (std::any_of(placed.begin(), placed.end(),
                        [&](int l) { return hiddenLayers_.contains(l); }))
            continue;
        const Definition& d = model_.definitions[size_t(p.definition)];
        bool named = definitionNamed[size_t(p.definition)];
        for (size_t k = 0; !named && k < placed.size(); ++k) {
            int l = placed[k];
            if (l >= 0 && size_t(l) < model_.layers.size()) named = layerNamed[size_t(l)];
        }
        if (!named) continue;
        Float3 lo{kInf, kInf, kInf}, hi{-kInf, -kInf, -kInf};
        for (const Mesh& m : d.meshes)
            for (const Float3& v : m.positions) lo = min(lo, v), hi = max(hi, v);
        for (const EdgeSet& e : d.edges)
            for (const Float3& v : e.positions) lo = min(lo, v), hi = max(hi, v);
        if (hi.x < lo.x) continue;  // nothing drawn
        const Float3 a = p.transform.transformPoint(lo), b = p.transform.transformPoint(hi);
        if (length(b - a) > 3.5f) continue;  // too large to be a fixture
        const Float3 centre = p.transform.transformPoint((lo + hi) * 0.5f);
        if (std::any_of(found.begin(), found.end(),
                        [&](const auto& f) { return length(f.position - centre) <= 0.08f; }))
            continue;
        std::string name =
            d.name.empty() ? L("Lumière scène ", "Scene light ") + std::to_string(found.size() + 1)
                           : d.name;
        found.push_back({Uuid::random(), std::move(name), centre, 1, true});
    }
    return found;
}

std::shared_ptr<SceneNode> ViewportScene::makePointLightGizmo(float radius, bool isFromScene) {
    const float r = radius * 1.65f;
    auto node = SceneNode::make("pointLightGizmo");
    node->geometry =
        lineGeometry({{-r, 0, 0}, {r, 0, 0}, {0, -r, 0}, {0, r, 0}, {0, 0, -r}, {0, 0, r}});
    Float4 color = isFromScene ? Float4{0.36f, 0.88f, 0.90f, 1} : Float4{1.0f, 0.72f, 0.30f, 1};
    node->materials = {constantMaterial(color, false)};
    node->categoryBitMask = 2;
    node->castsShadow = false;
    node->renderingOrder = 2;
    return node;
}

std::shared_ptr<SceneNode> ViewportScene::buildGridNode() const {
    const Float3 lo = model_.boundsMin, hi = model_.boundsMax;
    const float s = length(hi - lo);
    const float span = s <= 2 ? 2 : s;
    const float x = s <= 2 ? 1.0f / 6 : std::max(s / 12, 0.1f);
    float step = std::pow(10.0f, std::floor(std::log10(x)));
    if (span / step > 25)
        step *= 2;
    else if (span / step < 8)
        step /= 2;
    const float major = step * 5;
    const float half = major * std::ceil(span * 0.85f / major);
    const float plane = (hi.z >= -0.1f && lo.z <= 0.1f) ? 0 : lo.z;
    const float cx = major * std::round((lo.x + hi.x) / 2 / major);
    const float cy = major * std::round((lo.y + hi.y) / 2 / major);
    const int n = int(std::lround(half / step));
    std::vector<Float3> minor, majors;
    for (int i = -n; i <= n; ++i) {
        auto& out = i % 5 == 0 ? majors : minor;
        const float fx = cx + float(i) * step, fy = cy + float(i) * step;
        out.insert(out.end(), {{fx, cy - half, plane},
                               {fx, cy + half, plane},
                               {cx - half, fy, plane},
                               {cx + half, fy, plane}});
    }
    auto grid = SceneNode::make("referenceGrid");
    grid->addChild(lineNode(minor, {0.5f, 0.5f, 0.5f, 0.18f}, -1));
    grid->addChild(lineNode(majors, {0.55f, 0.55f, 0.55f, 0.34f}, -1));
    const float axis = std::max(half * 0.6f, step * 4);
    const Float3 o{cx, cy, plane + 0.002f};
    grid->addChild(lineNode({o, o + Float3{axis, 0, 0}}, {0.95f, 0.32f, 0.30f, 0.85f}, -1));
    grid->addChild(lineNode({o, o + Float3{0, axis, 0}}, {0.38f, 0.80f, 0.42f, 0.85f}, -1));
    grid->addChild(lineNode({o, o + Float3{0, 0, axis}}, {0.35f, 0.60f, 0.96f, 0.85f}, -1));
    return grid;
}

}  // namespace vistrel::viewport

// Frame time of the headless renderer at 1380 x 820 for generated models of 1, 5 and 20 million
// triangles, with sun shadows (3 cascades, 2048) and ambient occlusion each on and off. Each
// frame is a snapshot: drawn offscreen and read back, so the time covers the whole pipeline.
// The first frame of a model (uploads) is not timed. On Mesa's llvmpipe a 20 M frame takes
// seconds, so the large cases run only a few iterations. `lampFrameTime` lights the 1 M model
// with point lights rigged by ViewportScene, as the point lighting mode does.
#include <benchmark/benchmark.h>

#include <cmath>
#include <map>
#include <memory>
#include <numbers>
#include <string>

#include "gl/OffscreenContext.h"
#include "gl/RenderMath.h"
#include "gl/Renderer.h"
#include "scene/ViewportScene.h"
#include "vocabulary/Rendering.h"

using namespace vistrel;
using namespace vistrel::viewport;

namespace {

constexpr int kWidth = 1380, kHeight = 820;
constexpr int kGrid = 353;  // 249,218 triangles a chunk, like scene assembly's chunks

// A rolling terrain patch of kGrid x kGrid cells, 10 m square, at (ox, oy).
std::shared_ptr<Geometry> patch(float ox, float oy) {
    auto g = std::make_shared<Geometry>();
    const int n = kGrid + 1;
    g->positions = Buffer<Float3>(size_t(n * n));
    g->normals = Buffer<Float3>(size_t(n * n));
    g->indices = Buffer<uint32_t>(size_t(kGrid * kGrid * 6));
    const float step = 10.0f / kGrid;
    for (int j = 0; j < n; ++j)
        for (int i = 0; i < n; ++i) {
            const float x = ox + i * step, y = oy + j * step;
            const float z = 0.6f * std::sin(x * 1.3f) * std::cos(y * 0.9f);
            const float dx = 0.6f * 1.3f * std::cos(x * 1.3f) * std::cos(y * 0.9f);
            const float dy = -0.6f * 0.9f * std::sin(x * 1.3f) * std::sin(y * 0.9f);
            g->positions[size_t(j * n + i)] = {x, y, z};
            g->normals[size_t(j * n + i)] = normalize(Float3{-dx, -dy, 1});
        }
    size_t k = 0;
    for (int j = 0; j < kGrid; ++j)
        for (int i = 0; i < kGrid; ++i) {
            const uint32_t a = uint32_t(j * n + i), b = a + 1, c = a + uint32_t(n), d = c + 1;
            for (uint32_t v : {a, b, d, a, d, c}) g->indices[k++] = v;
        }
    g->computeBounds();
    return g;
}

struct Model {
    std::shared_ptr<SceneNode> root, modelRoot;
    Light fill;
    Image backdrop, sky;
    RenderFrame frame;
    std::shared_ptr<SceneNode> sun;
};

std::unique_ptr<Model> makeModel(int millions) {
    auto m = std::make_unique<Model>();
    m->root = SceneNode::make("root");
    m->modelRoot = SceneNode::make("model");
    m->modelRoot->transform(1, 1) = 0;
    m->modelRoot->transform(1, 2) = 1;
    m->modelRoot->transform(2, 1) = -1;
    m->modelRoot->transform(2, 2) = 0;
    m->root->addChild(m->modelRoot);
    auto material = std::make_shared<viewport::Material>();
    material->diffuseColor = {0.82f, 0.78f, 0.70f, 1};
    material->isDoubleSided = true;
    const int chunks = millions * 4;  // about 250,000 triangles each
    const int side = int(std::ceil(std::sqrt(double(chunks))));
    for (int c = 0; c < chunks; ++c) {
        auto node = SceneNode::make();
        node->geometry = patch(float(c % side) * 10, float(c / side) * 10);
        node->materials = {material};
        m->modelRoot->addChild(node);
    }
    const float size = float(side) * 10;
    m->sun = SceneNode::make("sun");
    Light sun;
    sun.type = Light::Type::directional;
    sun.intensity = 1050;
    sun.temperature = 5800;
    sun.castsShadow = true;
    sun.shadowRadius = 3;
    sun.shadowSampleCount = 8;
    sun.shadowColor = {0.05f, 0.07f, 0.12f, 0.48f};
    sun.shadowCascadeCount = 3;
    sun.shadowMapSize = 2048;
    sun.maximumShadowDistance = 4 * size * std::numbers::sqrt2_v<float>;
    m->sun->light = sun;
    m->sun->transform = RenderMath::lookAlong({0, 0, 0}, {0.5f, 0.5f, -0.7071f}, {0, 0, 1});
    m->modelRoot->addChild(m->sun);
    m->fill.type = Light::Type::ambient;
    m->fill.intensity = 140;
    m->backdrop = Rendering::backdropImage(BackdropStyle::architecturalSky,
                                           Rendering::defaultCustomBackdropColor);
    m->sky = Rendering::skyImage(false);
    // The iso view of the whole field, as the viewer frames it.
    const Float3 center{size / 2, size / 2, 0};
    const Float3 forward = normalize(Float3{-1, 1, -1});
    const float distance = size * 0.75f / std::sin(float(35 * std::numbers::pi / 360)) * 1.05f;
    RenderFrame& f = m->frame;
    f.root = m->root.get();
    f.camera.cameraToWorld = m->modelRoot->transform *
                             RenderMath::lookAlong(center - forward * distance, forward, {0, 0, 1});
    f.camera.settings.fieldOfView = 35;
    Rendering::configure(f.camera.settings);
    f.cameraLight = &m->fill;
    f.backdrop = &m->backdrop;
    f.environment = &m->sky;
    f.environmentIntensity = 1.05f;
    return m;
}

struct Bench {
    std::unique_ptr<OffscreenContext> context;
    std::unique_ptr<Renderer> renderer;
    std::map<int, std::unique_ptr<Model>> models;
    std::string error;
};

Bench& bench() {
    static Bench b = [] {
        Bench x;
        x.context = OffscreenContext::create(x.error);
        if (x.context) {
            x.renderer = std::make_unique<Renderer>();
            if (!x.renderer->initialize(x.error)) x.renderer.reset();
        }
        return x;
    }();
    return b;
}

// Arguments: millions of triangles, shadows (0/1), ambient occlusion (0/1).
void frameTime(benchmark::State& state) {
    Bench& b = bench();
    if (!b.renderer) {
        state.SkipWithError(("no GL context: " + b.error).c_str());
        return;
    }
    const int millions = int(state.range(0));
    auto& model = b.models[millions];
    if (!model) {
        b.models.clear();  // one model in memory at a time
        auto& m = b.models[millions];
        m = makeModel(millions);
        b.renderer->snapshot(m->frame, kWidth, kHeight);  // uploads, untimed
    }
    Model& m = *b.models[millions];
    m.sun->light->castsShadow = state.range(1) != 0;
    Rendering::setAmbientOcclusion(state.range(2) != 0, Rendering::defaultAmbientOcclusionIntensity,
                                   m.frame.camera.settings);
    b.renderer->snapshot(m.frame, kWidth, kHeight);  // warm with these settings
    for (auto _ : state) {
        Image image = b.renderer->snapshot(m.frame, kWidth, kHeight);
        benchmark::DoNotOptimize(image.pixels.data());
    }
    const auto& s = b.renderer->statistics();
    state.counters["Mtriangles"] = double(s.triangles) / 1e6;
    state.counters["drawCalls"] = s.drawCalls;
    state.counters["shadowViews"] = s.shadowViews;
}

// Arguments: point lights in a grid over the field, shadows (0/1; the first two lights cast).
void lampFrameTime(benchmark::State& state) {
    Bench& b = bench();
    if (!b.renderer) {
        state.SkipWithError(("no GL context: " + b.error).c_str());
        return;
    }
    b.models.clear();
    auto& slot = b.models[1];
    slot = makeModel(1);
    Model& m = *slot;
    const Float3 size = m.modelRoot->children().front()->geometry->boundsMax;
    SKPModel empty;
    empty.boundsMax = {size.x * 2, size.y * 2, 2};
    ViewportScene scene(empty);
    std::vector<ViewportPointLight> lamps;
    const int count = int(state.range(0));
    for (int i = 0; i < count; ++i)
        lamps.push_back(
            {Uuid::random(), "lamp", {float(i % 8) * 2.5f + 1, float(i / 8) * 4 + 2, 2}, 1, true});
    scene.setShadowsEnabled(state.range(1) != 0);
    scene.setPointLights(lamps);
    scene.setLightingMode(LightingMode::point);
    auto rig = scene.pointLightsRoot();
    rig->removeFromParent();
    m.modelRoot->addChild(rig);
    m.sun->light->intensity = 0;
    m.sun->light->castsShadow = false;
    m.fill.intensity = 65;
    m.frame.environmentIntensity = 0.28f;
    b.renderer->snapshot(m.frame, kWidth, kHeight);  // uploads, untimed
    for (auto _ : state) {
        Image image = b.renderer->snapshot(m.frame, kWidth, kHeight);
        benchmark::DoNotOptimize(image.pixels.data());
    }
    state.counters["shadowViews"] = b.renderer->statistics().shadowViews;
    b.models.clear();
}

BENCHMARK(lampFrameTime)
    ->ArgNames({"lamps", "shadows"})
    ->Args({5, 1})
    ->Args({32, 0})
    ->Args({32, 1})
    ->Iterations(4)
    ->Unit(benchmark::kMillisecond);
BENCHMARK(frameTime)
    ->ArgNames({"Mtri", "shadows", "ssao"})
    ->Args({1, 0, 0})
    ->Args({1, 1, 0})
    ->Args({1, 0, 1})
    ->Args({1, 1, 1})
    ->Iterations(4)
    ->Unit(benchmark::kMillisecond);
BENCHMARK(frameTime)
    ->ArgNames({"Mtri", "shadows", "ssao"})
    ->Args({5, 0, 0})
    ->Args({5, 1, 0})
    ->Args({5, 0, 1})
    ->Args({5, 1, 1})
    ->Iterations(2)
    ->Unit(benchmark::kMillisecond);
BENCHMARK(frameTime)
    ->ArgNames({"Mtri", "shadows", "ssao"})
    ->Args({20, 0, 0})
    ->Args({20, 1, 0})
    ->Args({20, 0, 1})
    ->Args({20, 1, 1})
    ->Iterations(1)
    ->Unit(benchmark::kMillisecond);

}  // namespace

BENCHMARK_MAIN();

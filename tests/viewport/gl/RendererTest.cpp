// Headless rendering on Mesa: pictures compared with baselines, plus assertions on known
// regions. Every test skips when no EGL context can be made.
#include "gl/Renderer.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <numbers>
#include <tuple>

#include "ImageCompare.h"
#include "ManualClock.h"
#include "ManualTimer.h"
#include "TestEnv.h"
#include "ViewportTestModels.h"
#include "gl/HeadlessSnapshot.h"
#include "gl/OffscreenContext.h"
#include "gl/RenderMath.h"
#include "model/SyntheticModel.h"
#include "scene/ViewportScene.h"
#include "sketchup/SKPReader.h"
#include "view/ViewportView.h"
#include "vocabulary/Rendering.h"

using namespace vistrel;
using namespace vistrel::viewport;

namespace {

constexpr int kWidth = 192, kHeight = 128;

struct Rgb {
    int r = 0, g = 0, b = 0;
    int luma() const { return (2126 * r + 7152 * g + 722 * b) / 10000; }
    int distance(Rgb o) const {
        return std::max({std::abs(r - o.r), std::abs(g - o.g), std::abs(b - o.b)});
    }
};

Rgb at(const Image& image, int x, int y) {
    if (x < 0 || y < 0 || x >= image.width || y >= image.height) {
        ADD_FAILURE() << "pixel " << x << "," << y << " lies outside the picture";
        return {};
    }
    const std::uint8_t* p = image.pixel(x, y);
    return {p[0], p[1], p[2]};
}

// The sun and sky fill of a scene at their starting values, under `parent`.
void addSunRig(SceneNode& parent, bool shadows = true) {
    static const ViewportScene rig{SKPModel{}};
    for (const auto& n : {rig.sun(), rig.skyFill()}) {
        auto copy = SceneNode::make(n->name);
        copy->light = n->light;
        copy->light->castsShadow &= shadows;
        copy->light->maximumShadowDistance = 56;
        copy->transform = n->transform;
        parent.addChild(copy);
    }
}

std::shared_ptr<Geometry> quad(Float3 origin, Float3 u, Float3 v) {
    auto g = std::make_shared<Geometry>();
    g->positions = Buffer<Float3>(4);
    g->normals = Buffer<Float3>(4);
    g->indices = Buffer<uint32_t>(6);
    const Float3 p[4] = {origin, origin + u, origin + u + v, origin + v};
    const uint32_t idx[6] = {0, 1, 2, 0, 2, 3};
    std::copy(p, p + 4, g->positions.data());
    std::fill_n(g->normals.data(), 4, normalize(cross(u, v)));
    std::copy(idx, idx + 6, g->indices.data());
    g->computeBounds();
    return g;
}

std::shared_ptr<SceneNode> node(std::shared_ptr<Geometry> g,
                                std::shared_ptr<viewport::Material> m) {
    auto n = SceneNode::make();
    n->geometry = std::move(g);
    n->materials = {std::move(m)};
    return n;
}

std::shared_ptr<viewport::Material> plain(Float4 srgb) {
    auto m = std::make_shared<viewport::Material>();
    m->diffuseColor = srgb;
    m->isDoubleSided = true;
    return m;
}

class RendererTest : public ::testing::Test {
  protected:
    static void SetUpTestSuite() {
        context_ = OffscreenContext::create(skipReason_).release();
        renderer_ = context_ ? new Renderer : nullptr;
        if (renderer_ && !renderer_->initialize(skipReason_)) delete renderer_, renderer_ = nullptr;
    }
    static void TearDownTestSuite() {
        delete renderer_;
        delete context_;
        renderer_ = nullptr, context_ = nullptr;
    }
    void SetUp() override {
        if (!renderer_) GTEST_SKIP() << "no GL context: " << skipReason_;
    }

    // A frame of the scene from the model's own first view, lit by the sun rig.
    RenderFrame frameOf(ViewportScene& scene, int w = kWidth, int h = kHeight) {
        camera_ = HeadlessSnapshot::initialCamera(scene, w, h);
        fill_ = *scene.fill()->light;
        RenderFrame frame;
        frame.root = scene.rootNode().get();
        frame.camera = RenderCamera::from(camera_, scene.modelRoot()->worldTransform());
        frame.cameraLight = &fill_;
        frame.backdrop = &scene.background();
        frame.environment = &scene.lightingEnvironment();
        frame.environmentIntensity = scene.lightingEnvironmentIntensity();
        return frame;
    }

    // Pixel of a model-space point in a frame of the given size.
    static std::pair<int, int> project(const RenderFrame& frame, Float3 modelPoint,
                                       const Float4x4& modelToWorld, int w = kWidth,
                                       int h = kHeight) {
        const CameraSettings& s = frame.camera.settings;
        const float aspect = float(w) / float(h);
        const Float4x4 projection =
            s.usesOrthographicProjection
                ? RenderMath::orthographic(float(s.orthographicScale) * aspect,
                                           float(s.orthographicScale), 0.01f, 1000)
                : RenderMath::perspective(float(s.fieldOfView * std::numbers::pi / 180), aspect,
                                          0.01f, 1000);
        const Float3 p = modelToWorld.transformPoint(modelPoint);
        const Float4 c = RenderMath::transform(
            projection * RenderMath::inverse(frame.camera.cameraToWorld), {p.x, p.y, p.z, 1});
        const float x = (c.x / c.w * 0.5f + 0.5f) * float(w);
        const float y = (1 - (c.y / c.w * 0.5f + 0.5f)) * float(h);
        return {int(x), int(y)};
    }

    static Image snap(const RenderFrame& frame) {
        return renderer_->snapshot(frame, kWidth, kHeight);
    }
    // The headless snapshot of a model at the test size; it leaves our context current again.
    static std::optional<Image> headless(const SKPModel& model) {
        std::string error;
        const auto image = HeadlessSnapshot::render(model, {kWidth, kHeight}, error);
        context_->makeCurrent();
        EXPECT_TRUE(image) << error;
        return image;
    }

    static inline OffscreenContext* context_ = nullptr;
    static inline Renderer* renderer_ = nullptr;
    static inline std::string skipReason_;
    CameraNode camera_;
    Light fill_;
};

// At a point of the lit -Y face of the amber cube (the second one, on layer 1), away from the back
// edges that x-ray shows through it: clay turns it near white, x-ray lets the blue sky through it,
// still tinted; hiding its layer leaves the backdrop there.
TEST_F(RendererTest, stylesRecolourTheAmberCubeAndAHiddenLayerLeavesTheBackdrop) {
    ViewportScene empty(SKPModel{}), scene(SyntheticModel::cube());
    RenderFrame bare = frameOf(empty), frame = frameOf(scene);
    bare.camera = frame.camera;
    const Image backdrop = snap(bare);
    const auto [x, y] = project(frame, {2.25f, 0, 0.3f}, scene.modelRoot()->worldTransform());
    auto in = [&](ShadingStyle style) {
        scene.setShadingStyle(style);
        return snap(frame);
    };
    const Rgb sky = at(backdrop, x, y), face = at(in(ShadingStyle::textured), x, y);
    const Rgb clay = at(in(ShadingStyle::clay), x, y), xray = at(in(ShadingStyle::xray), x, y);
    EXPECT_GT(face.r - face.b, 80);
    EXPECT_GT(clay.b, 150);
    EXPECT_LT(std::abs(clay.r - clay.b), 30);
    EXPECT_GT(xray.b, face.b + 30);
    EXPECT_LT(xray.b, sky.b);
    EXPECT_GT(xray.r - xray.b, 10);
    ViewportScene fresh(SyntheticModel::cube());  // with the edge colour it is built with
    ViewportScene::LayerSet* decor = fresh.findLayerSet({0, 1});
    ASSERT_TRUE(decor && decor->node);
    decor->node->isHidden = true;
    const Image hidden = snap(frameOf(fresh));
    EXPECT_LE(at(hidden, x, y).distance(sky), 3);
    const auto [wx, wy] = project(frame, {0.5f, 0, 0.5f}, scene.modelRoot()->worldTransform());
    EXPECT_GT(at(hidden, wx, wy).distance(at(backdrop, wx, wy)), 40);  // the other cube stays
    EXPECT_TRUE(test::matchesBaseline(hidden, "cube_hidden_layer"));
}

class RendererSceneTest : public RendererTest {
  protected:
    // A 10 m ground at Z = 0 and a 1 m box standing on it, under a model root as scenes have.
    void SetUp() override {
        RendererTest::SetUp();
        if (IsSkipped()) return;
        root_ = SceneNode::make("root");
        modelRoot_ = SceneNode::make("model");
        modelRoot_->transform(1, 1) = 0;  // Z-up model in the renderer's Y-up world
        modelRoot_->transform(1, 2) = 1;
        modelRoot_->transform(2, 1) = -1;
        modelRoot_->transform(2, 2) = 0;
        root_->addChild(modelRoot_);
        ground_ = plain({0.8f, 0.8f, 0.8f, 1});
        modelRoot_->addChild(node(quad({-5, -5, 0}, {10, 0, 0}, {0, 10, 0}), ground_));
        box_ = plain({0.7f, 0.3f, 0.2f, 1});
        const Float3 o{-0.5f, -0.5f, 0}, x{1, 0, 0}, y{0, 1, 0}, z{0, 0, 1};
        const std::tuple<Float3, Float3, Float3> faces[] = {
            {o, y, x}, {o + z, x, y}, {o, x, z}, {o + y, z, x}, {o, z, y}, {o + x, y, z}};
        for (const auto& [corner, u, v] : faces)
            modelRoot_->addChild(node(quad(corner, u, v), box_));
        background_ = Rendering::backdropImage(BackdropStyle::architecturalSky,
                                               Rendering::defaultCustomBackdropColor);
        sky_ = Rendering::skyImage(false);
        fill_.type = Light::Type::ambient;
        fill_.intensity = 140;
        lookFrom({5, -7, 5}, {0, 0.5f, 0});
    }
    void lookFrom(Float3 eye, Float3 target, bool parallel = false) {
        frame_.root = root_.get();
        Float3 f = normalize(target - eye);
        frame_.camera.cameraToWorld =
            modelRoot_->transform * RenderMath::lookAlong(eye, f, {0, 0, 1});
        frame_.camera.settings = {};
        frame_.camera.settings.fieldOfView = 35;
        frame_.camera.settings.usesOrthographicProjection = parallel;
        frame_.camera.settings.orthographicScale = 4;
        Rendering::configure(frame_.camera.settings);
        Rendering::setAmbientOcclusion(false, 0, frame_.camera.settings);
        frame_.cameraLight = &fill_;
        frame_.backdrop = &background_;
        frame_.environment = &sky_;
        frame_.environmentIntensity = 1.05f;
    }
    std::pair<int, int> pixel(Float3 p) { return project(frame_, p, modelRoot_->transform); }
    Image draw() { return snap(frame_); }

    std::shared_ptr<SceneNode> root_, modelRoot_;
    std::shared_ptr<viewport::Material> ground_, box_;
    Image background_, sky_;
    RenderFrame frame_;
};

// A shadow takes most of the sun, leaving a blue-grey tint; the sky, fill and environment stay.
TEST_F(RendererSceneTest, sunShadowIsSoftBlueGreyNeverBlack) {
    addSunRig(*modelRoot_);
    const Image image = draw();
    EXPECT_EQ(renderer_->statistics().shadowViews, 3);
    for (const auto& c : modelRoot_->children())
        if (c->light) c->light->castsShadow = false;
    const Image unshadowed = draw();
    EXPECT_EQ(renderer_->statistics().shadowViews, 0);
    // The sun travels towards +X +Y and down: the shadow falls on that side of the box.
    const auto [sx, sy] = pixel({0.9f, 0.4f, 0});
    const Rgb shadow = at(image, sx, sy), lit = at(unshadowed, sx, sy);
    EXPECT_LT(shadow.luma(), lit.luma() * 3 / 4);   // reads at a glance
    EXPECT_GT(shadow.luma(), lit.luma() / 3);       // and never black
    EXPECT_GT(shadow.b * lit.r, lit.b * shadow.r);  // bluer than the lit ground
    const auto [ox, oy] = pixel({-2, -2, 0});       // open ground: no shadow either way
    EXPECT_LE(at(image, ox, oy).distance(at(unshadowed, ox, oy)), 2);
    EXPECT_TRUE(test::matchesBaseline(image, "scene_sun_shadow"));
    for (const auto& c : modelRoot_->children())  // low quality: one cascade still shadows
        if (c->light) c->light->castsShadow = c->name == "sun", c->light->shadowCascadeCount = 1;
    EXPECT_LT(at(draw(), sx, sy).luma(), lit.luma() * 3 / 4);
    EXPECT_EQ(renderer_->statistics().shadowViews, 1);
}

TEST_F(RendererSceneTest, pointLightFadesWithDistanceAndCastsShadow) {
    auto lamp = SceneNode::make("lamp");
    lamp->light = Light{.type = Light::Type::omni,
                        .intensity = 2400 * 0.86f,
                        .temperature = 5400,
                        .castsShadow = true,
                        .shadowMapSize = 512,
                        .attenuationStartDistance = 0.1f,
                        .attenuationEndDistance = 6,
                        .attenuationFalloffExponent = 1.85f};
    lamp->transform = Float4x4::translation({-1.5f, -1.5f, 1.5f});
    modelRoot_->addChild(lamp);
    fill_.intensity = 65;  // the point-light mode's dimmer fill and environment
    frame_.environmentIntensity = 0.28f;
    const Image image = draw();
    EXPECT_EQ(renderer_->statistics().shadowViews, 6);
    lamp->light->castsShadow = false;
    const Image unshadowed = draw();
    const auto [nx, ny] = pixel({-1.5f, -1.5f, 0});  // under the lamp
    const auto [fx, fy] = pixel({2.5f, 4, 0});       // beyond the attenuation end
    const auto [bx, by] = pixel({0.9f, 0.9f, 0});    // behind the box, seen from the lamp
    EXPECT_GT(at(image, nx, ny).luma(), at(image, fx, fy).luma() + 40);
    EXPECT_LT(at(image, bx, by).luma(), at(unshadowed, bx, by).luma() - 4);
    lamp->isHidden = true;
    EXPECT_LE(at(draw(), fx, fy).distance(at(image, fx, fy)), 2);  // it never reached there
    EXPECT_TRUE(test::matchesBaseline(image, "scene_point_light"));
}

// Regression: normals turned by the transpose of the model root's rotation, so on sloped faces
// the flip towards the eye chose the wrong side and a curved body read as a patchwork.
TEST_F(RendererSceneTest, slopeFacingTheLightIsBrighterWhateverItsWinding) {
    auto sun = SceneNode::make(), lamp = SceneNode::make();
    addSunRig(*sun, false);  // the sun comes from -X -Y
    lamp->light = Light{.type = Light::Type::omni, .intensity = 2000};
    lamp->transform = Float4x4::translation({0, 0, 2});
    // A gable roof beside the box: west slope wound outwards and east inwards, then the reverse.
    const Float3 ridge{3, -1, 1}, along{0, 2, 0}, west{-1, 0, -1}, east{1, 0, -1};
    auto roofA = node(quad(ridge, along, west), box_), roofB = node(quad(ridge, west, along), box_);
    roofA->addChild(node(quad(ridge, along, east), box_));
    roofB->addChild(node(quad(ridge, east, along), box_));
    for (const auto& n : {sun, lamp, roofA, roofB}) modelRoot_->addChild(n);
    lookFrom({3, -6, 8}, {3, 0, 0.3f});
    const auto w = pixel({2.5f, 0, 0.5f}), e = pixel({3.5f, 0, 0.5f});
    for (bool byLamp : {false, true}) {
        int shade[2] = {};
        for (int b = 0; b < 2; ++b) {
            sun->isHidden = byLamp, lamp->isHidden = !byLamp;
            roofA->isHidden = b == 1, roofB->isHidden = b == 0;
            const Image image = draw();
            shade[b] = at(image, w.first, w.second).luma();
            EXPECT_GT(shade[b], at(image, e.first, e.second).luma() + 15)
                << "roof " << b << " lamp " << byLamp;
        }
        EXPECT_NEAR(shade[0], shade[1], 2) << "the winding changes the shade, lamp " << byLamp;
    }
}

TEST_F(RendererSceneTest, ambientOcclusionDarkensTheFootOfTheBoxOnlyInPerspective) {
    fill_.intensity = 1000;                     // occlusion dims only the fill and the environment
    const auto [x, y] = pixel({0, -0.51f, 0});  // ground at the foot of the box
    const int without = at(draw(), x, y).luma();
    EXPECT_FALSE(renderer_->statistics().ambientOcclusion);
    Rendering::setAmbientOcclusion(true, 1.4, frame_.camera.settings);
    const Image withAO = draw();
    EXPECT_TRUE(renderer_->statistics().ambientOcclusion);
    EXPECT_LT(at(withAO, x, y).luma(), without - 3);
    const auto [ox, oy] = pixel({-4, 3.5f, 0});  // open ground: nothing to occlude it
    EXPECT_LE(std::abs(at(withAO, ox, oy).luma() - at(draw(), ox, oy).luma()), 3);
    lookFrom({5, -7, 5}, {0, 0.5f, 0}, true);
    frame_.camera.settings.screenSpaceAmbientOcclusionIntensity = 1.4;  // even if asked
    draw();
    EXPECT_FALSE(renderer_->statistics().ambientOcclusion);
}

// Emission brightens a hovered face; a pane tints what is behind it; two panes blend from far
// to near whatever their order in the graph.
TEST_F(RendererSceneTest, emissionAndSeeThroughSurfacesShowOnTheBox) {
    addSunRig(*modelRoot_, false);
    auto pane = [&](Float4 colour, float y, float z) {
        auto m = plain(colour);
        m->transparency = 0.6f;
        m->transparencyMode = viewport::Material::TransparencyMode::dualLayer;
        m->writesToDepthBuffer = false;
        auto n = node(quad({-1, y, z}, {2, 0, 0}, {0, 0, 1.5f}), m);
        n->renderingOrder = 2;
        n->castsShadow = false;
        modelRoot_->addChild(n);
        return n;
    };
    const auto [x, y] = pixel({0, -0.5f, 0.5f});  // the box's front face, behind the pane
    const Rgb before = at(draw(), x, y);
    box_->emission = {0.16f, 0.21f, 0.28f};
    EXPECT_GT(at(draw(), x, y).luma(), before.luma() + 5);
    box_->emission = {};
    pane({0.2f, 0.4f, 1.0f, 0.5f}, -1.2f, 0);
    const Rgb after = at(draw(), x, y);
    EXPECT_GT(after.b, before.b + 20);  // tinted blue
    EXPECT_GT(after.r, 40);             // and the red box still shows
    EXPECT_LT(after.r, before.r);
    lookFrom({0, -7, 2.25f}, {0, 0, 2.25f});
    pane({0.1f, 0.2f, 1.0f, 0.6f}, -2, 1.5f);  // the near one first in the graph
    pane({1.0f, 0.1f, 0.1f, 0.6f}, 2, 1.5f);
    const auto [px, py] = pixel({0, -2, 2.25f});
    const Rgb c = at(draw(), px, py);
    EXPECT_GT(c.b, c.r);  // the near pane lies over the far one
}

TEST_F(RendererSceneTest, edgesSitOnFacesWithoutFightingInBothProjections) {
    addSunRig(*modelRoot_, false);
    // The front vertical edges of the box and a line across its front face, unlit green.
    auto edges = std::make_shared<viewport::Material>();
    edges->lightingModel = viewport::Material::LightingModel::constant;
    edges->diffuseColor = {0.02f, 0.9f, 0.02f, 1};
    edges->writesToDepthBuffer = false;
    edges->edgeDepthBias = true;
    auto lines = std::make_shared<Geometry>();
    lines->primitive = Geometry::Primitive::lines;
    lines->positions = Buffer<Float3>(6);
    const Float3 ends[6] = {{-0.5f, -0.5f, 0}, {-0.5f, -0.5f, 1},    {0.5f, -0.5f, 0},
                            {0.5f, -0.5f, 1},  {-0.5f, -0.5f, 0.5f}, {0.5f, -0.5f, 0.5f}};
    std::copy(ends, ends + 6, lines->positions.data());
    lines->computeBounds();
    auto n = node(lines, edges);
    n->renderingOrder = 1;
    n->castsShadow = false;
    n->categoryBitMask = 2;
    modelRoot_->addChild(n);
    for (bool parallel : {false, true}) {
        lookFrom({2, -7, 3}, {0, 0.5f, 0.5f}, parallel);
        const Image image = draw();
        int green = 0, samples = 0;
        for (float t = -0.4f; t <= 0.4f; t += 0.05f, ++samples) {
            const auto [x, y] = pixel({t, -0.5f, 0.5f});  // give or take a row
            bool found = false;
            for (int dy = -1; dy <= 1; ++dy)
                found |= at(image, x, y + dy).g > at(image, x, y + dy).r + 30;
            green += found;
        }
        EXPECT_EQ(green, samples) << (parallel ? "parallel" : "perspective");
        const auto [fx, fy] = pixel({0.25f, -0.5f, 0.25f});  // the face between the lines
        EXPECT_LT(at(image, fx, fy).g, at(image, fx, fy).r) << "face pixel shows the edge colour";
        EXPECT_TRUE(test::matchesBaseline(
            image, parallel ? "scene_edges_parallel" : "scene_edges_perspective"));
    }
}

TEST_F(RendererSceneTest, textureIsSampledThroughTheContentsTransform) {
    addSunRig(*modelRoot_, false);
    auto checker = std::make_shared<Image>();
    checker->width = 2;
    checker->height = 2;
    checker->interpolated = false;
    // Row 0 (top): red, blue; row 1: blue, red.
    checker->pixels = {230, 20, 20, 255, 20, 20, 230, 255, 20, 20, 230, 255, 230, 20, 20, 255};
    auto textured = plain({1, 1, 1, 1});
    textured->diffuseImage = checker;
    textured->wrapRepeat = true;
    auto wall = quad({-1, -1, 0.2f}, {2, 0, 0}, {0, 0, 2});
    wall->uvs = Buffer<Float2>(4);
    const Float2 uv[4] = {{0, 0}, {1, 0}, {1, 1}, {0, 1}};
    std::copy(uv, uv + 4, wall->uvs.data());
    modelRoot_->addChild(node(wall, textured));
    lookFrom({0, -6, 1.2f}, {0, 0, 1.2f});
    // Without a transform, v = 0 reads the top row: red at the bottom left of the wall.
    const auto [lx, ly] = pixel({-0.5f, -1, 0.7f});
    const auto [rx, ry] = pixel({0.5f, -1, 0.7f});
    Image image = draw();
    EXPECT_GT(at(image, lx, ly).r, at(image, lx, ly).b + 40);
    EXPECT_GT(at(image, rx, ry).b, at(image, rx, ry).r + 40);
    // Flipping V, as scene assembly does for the modelling tool's coordinates, swaps the rows.
    textured->contentsTransform(1, 1) = -1;
    textured->contentsTransform(1, 3) = 1;
    image = draw();
    EXPECT_GT(at(image, lx, ly).b, at(image, lx, ly).r + 40);
    EXPECT_GT(at(image, rx, ry).r, at(image, rx, ry).b + 40);
}

// Regression: a view shown before its scene arrives must draw its dark background, not black
// and not a pipeline pass over a null graph.
TEST_F(RendererTest, frameWithoutSceneOnlyClearsToTheViewBackground) {
    context_->makeCurrent();  // earlier headless snapshots made contexts of their own
    const Image image = snap(RenderFrame{});
    const Float3 c = Rendering::viewBackgroundColor;
    const Rgb expected{int(std::lround(c.x * 255)), int(std::lround(c.y * 255)),
                       int(std::lround(c.z * 255))};
    for (const auto& [x, y] :
         {std::pair{0, 0}, {kWidth / 2, kHeight / 2}, {kWidth - 1, kHeight - 1}})
        EXPECT_LE(at(image, x, y).distance(expected), 1) << x << "," << y;
    EXPECT_EQ(renderer_->statistics().drawCalls, 0);
}

// What a presented view snapshots is what the headless snapshot shows for the same model and
// size: the fill light is counted once and the camera is the view's.
TEST_F(RendererTest, viewSnapshotMatchesTheHeadlessPictureAtThePixelSize) {
    test::ManualTimer timer;
    test::ManualClock clock;
    ViewportView view(timer, clock);
    view.setSize({float(kWidth), float(kHeight)});
    EXPECT_FALSE(view.snapshot()) << "no scene, no picture";
    view.present(std::make_shared<ViewportScene>(SyntheticModel::cube()));
    const auto picture = view.snapshot();
    context_->makeCurrent();  // the view rendered in a context of its own
    ASSERT_TRUE(picture);
    ASSERT_EQ(picture->width, kWidth);
    ASSERT_EQ(picture->height, kHeight);
    const auto expected = headless(SyntheticModel::cube());
    ASSERT_TRUE(expected);
    int differing = 0;
    for (int y = 0; y < kHeight; ++y)
        for (int x = 0; x < kWidth; ++x)
            differing += at(*picture, x, y).distance(at(*expected, x, y)) > 6;
    EXPECT_LT(differing, kWidth * kHeight / 100);
    // Pixels, not points: a doubled backing scale doubles the picture.
    view.setBackingScale(2);
    const auto retina = view.snapshot();
    context_->makeCurrent();
    ASSERT_TRUE(retina);
    EXPECT_EQ(retina->width, 2 * kWidth);
    EXPECT_EQ(retina->height, 2 * kHeight);
}

// A real plan with no depth of its own, all at z = 0, seen from the top in parallel projection.
// The edges' depth bias must not carry them out of the depth range.
TEST_F(RendererTest, flatLineDrawingIsVisibleFromTheTop) {
    const auto corpus = test::corpusDir();
    if (!corpus) GTEST_SKIP() << "corpus absent";
    const SKPModel plan = SKPReader::load(*corpus / "dxf" / "bnortierdxf__entities.dxf");
    ASSERT_TRUE(plan.isPlanar2D());
    const auto image = headless(plan);
    ASSERT_TRUE(image);
    int lineRows = 0;
    for (int y = 0; y < image->height; ++y) {
        bool line = false;
        for (int x = 0; x < image->width; ++x)
            line |= std::abs(int(image->pixel(x, y)[0]) - int(image->pixel(0, y)[0])) > 30;
        lineRows += line;
    }
    EXPECT_GE(lineRows, kHeight / 3) << "the plan's lines are drawn";
}

// Eight lamps hanging 0.8 m over a 16 m floor, found by their names: more lights than six
// spots each would leave room for.
SKPModel lampRow() {
    Definition root, lamp{"lamp", {}, {}, {}};
    lamp.meshes = {test::triangleMesh({-0.1f, -0.1f, 0}, {0.1f, -0.1f, 0}, {0, 0.1f, 0.05f})};
    lamp.meshes[0].normals.assign(3, {0, 0, 1});
    root.meshes = {test::square(0, 0, 1.5f)};
    for (Float3& p : root.meshes[0].positions) p.x = p.x < 0 ? 0 : 16;
    for (int i = 0; i < 8; ++i)
        root.children.push_back(
            {0, Float4x4::translation({1 + 2.0f * float(i), 0, 0.8f}), 0, false, {}, ""});
    return SKPModel(root, {lamp}, {}, {{"Layer0", true, {}}}, {}, {}, {0, -1.5f, 0},
                    {16, 1.5f, 0.85f}, {}, {}, {}, {});
}

// Regression: the renderer's 32 local lights were spent six spots a point light, so from the
// sixth fixture on, lamps lit nothing.
TEST_F(RendererTest, everyFixtureOfTheModelLightsTheFloorUnderIt) {
    ViewportScene scene(lampRow());
    ASSERT_EQ(scene.detectedSceneLights().size(), 8u);
    scene.setLightingMode(LightingMode::point);
    RenderFrame frame = frameOf(scene);
    const Image all = snap(frame);
    EXPECT_TRUE(test::matchesBaseline(all, "scene_point_fixtures"));
    auto firstFive = scene.pointLights();
    firstFive.resize(5);
    scene.setPointLights(firstFive);
    const Image five = snap(frame);
    for (int i = 5; i < 8; ++i) {
        const auto [x, y] =
            project(frame, {1 + 2.0f * float(i), 0, 0}, scene.modelRoot()->worldTransform());
        EXPECT_GT(at(all, x, y).luma(), at(five, x, y).luma() + 20) << "lamp " << i + 1;
    }
}

// Plans through the CAD importer as the viewer first shows them, large enough to read their
// text, dimensions and hatches.
TEST_F(RendererTest, importedPlansShowTheirTextDimensionsAndHatches) {
    const auto corpus = test::corpusDir();
    if (!corpus) GTEST_SKIP() << "corpus absent";
    for (const std::string name :
         {"bnortierdxf__floorplan", "netdxf__sample", "bnortierdxf__Ceco.NET-Architecture-Tm-53"}) {
        ViewportScene scene(SKPReader::load(*corpus / "dxf" / (name + ".dxf")));
        RenderFrame frame = frameOf(scene, 1200, 800);
        EXPECT_TRUE(test::matchesBaseline(renderer_->snapshot(frame, 1200, 800), "png_" + name));
    }
}

// Real models read and assembled, large enough to judge by eye, under a low sun: a curved body
// in the four styles and under point light, a tray under a grazing sun, a plan from the top.
TEST_F(RendererTest, corpusModelsMatchTheirBaselines) {
    const auto corpus = test::corpusDir();
    if (!corpus) GTEST_SKIP() << "corpus absent";
    using enum ShadingStyle;
    using enum LightingMode;
    const char *egg = "assimp__PinkEggFromLW.dxf", *tray = "assimp__issue_2229.dxf",
               *plan = "bnortierdxf__Ceco.NET-Architecture-Tm-53.dxf";
    const std::tuple<const char*, const char*, ShadingStyle, LightingMode, bool> cases[] = {
        {tray, "tray_sun_grid", textured, sun, true}, {egg, "egg_clay", clay, sun, false},
        {egg, "egg_xray", xray, sun, false},          {egg, "egg_wireframe", wireframe, sun, false},
        {egg, "egg_point", clay, point, false},       {plan, "plan_grid", textured, sun, true}};
    std::string loaded;
    SKPModel model;
    for (const auto& [file, baseline, style, mode, grid] : cases) {
        if (loaded != file) model = SKPReader::load(*corpus / "dxf" / file), loaded = file;
        ViewportScene scene(model);
        scene.setShadingStyle(style);
        scene.setShowsGrid(grid);
        scene.setLightingMode(mode);
        scene.setSunElevationDegrees(file == tray ? 15 : 25);  // a tray's rim shadows its basin
        if (file == tray) scene.setSunAzimuthDegrees(-30);     // in a wedge with a sharp end
        if (mode == point) {                                   // two lamps outside the closed body
            const Float3 mid = (model.boundsMin + model.boundsMax) * 0.5f;
            const float d = length(model.boundsMax - model.boundsMin);
            scene.setPointLights(
                {{Uuid::random(), "A", mid + Float3{-0.3f, -0.3f, 0.3f} * d, 1, false},
                 {Uuid::random(), "B", mid + Float3{0.35f, -0.25f, 0} * d, 0.5f, false}});
        }
        RenderFrame frame = frameOf(scene, 480, 320);
        EXPECT_TRUE(test::matchesBaseline(renderer_->snapshot(frame, 480, 320), baseline));
    }
}

}  // namespace

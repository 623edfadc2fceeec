// Headless rendering on Mesa: pictures compared with baselines, plus assertions on known
// regions. Every test skips when no EGL context can be made.
#include "Renderer.h"

#include <gtest/gtest.h>

#include <cmath>
#include <numbers>
#include <set>

#include "HeadlessSnapshot.h"
#include "ImageCompare.h"
#include "LightColor.h"
#include "OffscreenContext.h"
#include "RenderMath.h"
#include "Rendering.h"
#include "SyntheticModel.h"
#include "ViewportScene.h"

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
    const std::uint8_t* p = image.pixel(x, y);
    return {p[0], p[1], p[2]};
}

// The sun and sky fill at their starting values (azimuth -135, elevation 45), under `parent`.
void addSunRig(SceneNode& parent, float sceneSize, bool shadows = true) {
    const float pi = std::numbers::pi_v<float>;
    const float a = -135 * pi / 180, e = 45 * pi / 180;
    auto sunNode = SceneNode::make("sun");
    Light sun;
    sun.type = Light::Type::directional;
    sun.intensity = 1050;
    sun.temperature = 5800;
    sun.castsShadow = shadows;
    sun.shadowRadius = 3;
    sun.shadowSampleCount = 8;
    sun.shadowColor = {0.05f, 0.07f, 0.12f, 0.48f};
    sun.shadowCascadeCount = 3;
    sun.shadowMapSize = 2048;
    sun.maximumShadowDistance = 4 * sceneSize;
    sunNode->light = sun;
    sunNode->transform = RenderMath::lookAlong(
        {0, 0, 0}, {-std::cos(a) * std::cos(e), -std::sin(a) * std::cos(e), -std::sin(e)},
        {0, 0, 1});
    parent.addChild(sunNode);
    auto skyNode = SceneNode::make("skyFill");
    Light sky;
    sky.type = Light::Type::directional;
    sky.intensity = 220;
    sky.temperature = 7500;
    skyNode->light = sky;
    const float b = a + pi;
    skyNode->transform = RenderMath::lookAlong(
        {0, 0, 0}, {-0.882948f * std::cos(b), -0.882948f * std::sin(b), -0.469472f}, {0, 0, 1});
    parent.addChild(skyNode);
}

std::shared_ptr<Geometry> quad(Float3 origin, Float3 u, Float3 v) {
    auto g = std::make_shared<Geometry>();
    g->positions = Buffer<Float3>(4);
    g->normals = Buffer<Float3>(4);
    g->indices = Buffer<uint32_t>(6);
    const Float3 n = normalize(cross(u, v));
    const Float3 p[4] = {origin, origin + u, origin + u + v, origin + v};
    for (int i = 0; i < 4; ++i) {
        g->positions[size_t(i)] = p[i];
        g->normals[size_t(i)] = n;
    }
    const uint32_t idx[6] = {0, 1, 2, 0, 2, 3};
    for (int i = 0; i < 6; ++i) g->indices[size_t(i)] = idx[i];
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
        std::string error;
        context_ = OffscreenContext::create(error).release();
        if (!context_) {
            skipReason_ = new std::string(error);
            return;
        }
        renderer_ = new Renderer;
        if (!renderer_->initialize(error)) {
            skipReason_ = new std::string(error);
            delete renderer_;
            renderer_ = nullptr;
        }
    }
    static void TearDownTestSuite() {
        delete renderer_;
        delete context_;
        delete skipReason_;
        renderer_ = nullptr;
        context_ = nullptr;
        skipReason_ = nullptr;
    }
    void SetUp() override {
        if (!renderer_) GTEST_SKIP() << "no GL context: " << (skipReason_ ? *skipReason_ : "");
    }

    // A frame of the scene from the model's own first view, lit by the sun rig.
    RenderFrame frameOf(ViewportScene& scene, int w = kWidth, int h = kHeight) {
        if (!scene.modelRoot()->children().empty() &&
            scene.modelRoot()->children().back()->name != "skyFill")
            addSunRig(*scene.modelRoot(), length(scene.model().size()));
        camera_ = HeadlessSnapshot::initialCamera(scene.model(), float(w) / float(h));
        fill_.type = Light::Type::ambient;
        fill_.intensity = 140;
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

    Image cubeIn(ShadingStyle style, bool parallel = false) {
        ViewportScene scene(SyntheticModel::cube());
        scene.setShadingStyle(style);
        RenderFrame frame = frameOf(scene);
        if (parallel) {
            frame.camera.settings.usesOrthographicProjection = true;
            frame.camera.settings.orthographicScale = 1.6;
            Rendering::setAmbientOcclusion(true, 0.7, frame.camera.settings);
        }
        return renderer_->snapshot(frame, kWidth, kHeight);
    }

    static OffscreenContext* context_;
    static Renderer* renderer_;
    static std::string* skipReason_;
    CameraNode camera_;
    Light fill_;
};

OffscreenContext* RendererTest::context_ = nullptr;
Renderer* RendererTest::renderer_ = nullptr;
std::string* RendererTest::skipReason_ = nullptr;

TEST_F(RendererTest, cubeTexturedMatchesBaselineAndIsNotUniform) {
    const Image image = cubeIn(ShadingStyle::textured);
    std::set<int> colours;
    for (int y = 0; y < image.height; ++y)
        for (int x = 0; x < image.width; ++x) {
            Rgb c = at(image, x, y);
            colours.insert(c.r << 16 | c.g << 8 | c.b);
        }
    EXPECT_GT(colours.size(), 100u);
    EXPECT_TRUE(test::matchesBaseline(image, "cube_textured"));
}

TEST_F(RendererTest, stylesMatchTheirBaselines) {
    EXPECT_TRUE(test::matchesBaseline(cubeIn(ShadingStyle::clay), "cube_clay"));
    EXPECT_TRUE(test::matchesBaseline(cubeIn(ShadingStyle::xray), "cube_xray"));
    EXPECT_TRUE(test::matchesBaseline(cubeIn(ShadingStyle::wireframe), "cube_wireframe"));
    EXPECT_TRUE(test::matchesBaseline(cubeIn(ShadingStyle::textured, true), "cube_parallel"));
}

}  // namespace

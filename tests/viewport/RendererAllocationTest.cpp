// Its own test binary: it replaces the global allocation functions to count heap use.
#include <gtest/gtest.h>

#include <atomic>
#include <cstdlib>
#include <new>

#include <cmath>
#include <numbers>
#include <string>

#include "OffscreenContext.h"
#include "RenderMath.h"
#include "Renderer.h"
#include "Rendering.h"
#include "SyntheticModel.h"
#include "ViewportScene.h"

namespace {

std::atomic<bool> counting{false};
std::atomic<long> allocations{0};

void* allocate(std::size_t size) {
    if (counting.load(std::memory_order_relaxed)) allocations.fetch_add(1);
    if (void* p = std::malloc(size ? size : 1)) return p;
    throw std::bad_alloc();
}

}  // namespace

void* operator new(std::size_t size) {
    return allocate(size);
}
void* operator new[](std::size_t size) {
    return allocate(size);
}
void* operator new(std::size_t size, const std::nothrow_t&) noexcept {
    if (counting.load(std::memory_order_relaxed)) allocations.fetch_add(1);
    return std::malloc(size ? size : 1);
}
void* operator new[](std::size_t size, const std::nothrow_t&) noexcept {
    if (counting.load(std::memory_order_relaxed)) allocations.fetch_add(1);
    return std::malloc(size ? size : 1);
}
void operator delete(void* p) noexcept {
    std::free(p);
}
void operator delete[](void* p) noexcept {
    std::free(p);
}
void operator delete(void* p, std::size_t) noexcept {
    std::free(p);
}
void operator delete[](void* p, std::size_t) noexcept {
    std::free(p);
}

using namespace vistrel;
using namespace vistrel::viewport;

// Once the renderer has seen a scene (uploads, shader variants, per-frame lists grown), a frame
// with sun shadows, ambient occlusion and edges allocates nothing.
TEST(RendererAllocationTest, repeatedFramesAllocateNothing) {
    std::string error;
    auto context = OffscreenContext::create(error);
    if (!context) GTEST_SKIP() << "no GL context: " << error;
    Renderer renderer;
    ASSERT_TRUE(renderer.initialize(error)) << error;

    ViewportScene scene(SyntheticModel::cube());
    auto sunNode = SceneNode::make("sun");
    Light sun;
    sun.type = Light::Type::directional;
    sun.intensity = 1050;
    sun.castsShadow = true;
    sun.shadowCascadeCount = 3;
    sun.shadowMapSize = 1024;
    sunNode->light = sun;
    sunNode->transform = RenderMath::lookAlong({0, 0, 0}, {0.5f, 0.5f, -0.707f}, {0, 0, 1});
    scene.modelRoot()->addChild(sunNode);
    Light fill;
    fill.type = Light::Type::ambient;
    fill.intensity = 140;

    RenderFrame frame;
    frame.root = scene.rootNode().get();
    frame.camera.cameraToWorld =
        scene.modelRoot()->worldTransform() *
        RenderMath::lookAlong({4.5f, -3.5f, 3}, normalize(Float3{-3.25f, 4, -2.5f}), {0, 0, 1});
    Rendering::configure(frame.camera.settings);
    frame.cameraLight = &fill;
    frame.backdrop = &scene.background();
    frame.environment = &scene.lightingEnvironment();
    frame.environmentIntensity = 1.05f;

    for (int i = 0; i < 3; ++i) renderer.renderOffscreen(frame, 96, 64);
    ASSERT_TRUE(renderer.statistics().ambientOcclusion);
    ASSERT_EQ(renderer.statistics().shadowViews, 3);
    allocations = 0;
    counting = true;
    renderer.renderOffscreen(frame, 96, 64);
    renderer.renderOffscreen(frame, 96, 64);
    counting = false;
    EXPECT_EQ(allocations.load(), 0);
}

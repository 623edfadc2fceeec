// Its own test binary: it replaces the global allocation functions to count heap use.
#include <gtest/gtest.h>

#include "AllocationCounter.h"

#include <string>

#include "gl/OffscreenContext.h"
#include "gl/RenderMath.h"
#include "gl/Renderer.h"
#include "model/SyntheticModel.h"
#include "scene/ViewportScene.h"
#include "vocabulary/Rendering.h"

using vistrel::test::allocations;
using vistrel::test::counting;

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
    const Light fill = *scene.fill()->light;  // the scene's own sun casts the shadows

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
    ASSERT_TRUE(vistrel::test::countsAllocations());
    counting = true;
    renderer.renderOffscreen(frame, 96, 64);
    renderer.renderOffscreen(frame, 96, 64);
    counting = false;
    EXPECT_EQ(allocations.load(), 0);
}

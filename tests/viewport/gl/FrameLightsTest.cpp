#include "gl/FrameLights.h"

#include <gtest/gtest.h>

#include "gl/RenderMath.h"

using namespace vistrel;
using namespace vistrel::viewport;

namespace {

Light light(Light::Type type, float lumens, bool shadows = false) {
    return {.type = type, .intensity = lumens, .temperature = 6500, .castsShadow = shadows};
}

// Lumens become radiance in their ratios; the first shadow-casting directional light gets the
// cascades, and only while something casts; dark lights are left out.
TEST(FrameLightsTest, sunSkyAndFillKeepTheirRatiosAndTheSunGetsTheCascades) {
    FrameLights f;
    const Light sky = light(Light::Type::directional, 220), fill = light(Light::Type::ambient, 140);
    const Light sun = light(Light::Type::directional, 1050, true);
    f.add(sky, {}, 10, true);
    f.add(sun, RenderMath::lookAlong({0, 0, 0}, {0, -1, 0}, {0, 0, 1}), 10, true);
    f.add(fill, {}, 10, true);
    f.add(light(Light::Type::omni, 0, true), {}, 10, true);
    EXPECT_NEAR(f.directionalRadiance[0], 0.22f, 1e-5);
    EXPECT_NEAR(f.directionalRadiance[3], 1.05f, 1e-5);
    EXPECT_NEAR(f.ambient.y, 0.14f, 1e-5);
    EXPECT_FLOAT_EQ(f.directionalDirection[2], 1);  // an unrotated light shines down its -Z
    EXPECT_EQ(f.sunIndex, 1);
    EXPECT_NEAR(f.sunTravel.y, -1, 1e-5);
    EXPECT_EQ(f.localCount, 0);
    f.clear();
    f.add(sun, {}, 10, false);  // nothing casts: no cascades to draw
    EXPECT_EQ(f.sun, nullptr);
}

}  // namespace

#include "gl/FrameLights.h"

#include <gtest/gtest.h>

#include "gl/RenderMath.h"

using namespace vistrel;
using namespace vistrel::viewport;

namespace {

Light light(Light::Type type, float lumens, bool shadows = false) {
    Light l;
    l.type = type;
    l.intensity = lumens;
    l.temperature = 6500;
    l.castsShadow = shadows;
    return l;
}

TEST(FrameLightsTest, intensitiesKeepTheirRatiosAsRadiance) {
    FrameLights f;
    f.clear();
    const Light sun = light(Light::Type::directional, 1050);
    const Light sky = light(Light::Type::directional, 220);
    const Light fill = light(Light::Type::ambient, 140);
    f.add(sun, {}, 10, true);
    f.add(sky, {}, 10, true);
    f.add(fill, {}, 10, true);
    EXPECT_NEAR(f.directionalRadiance[0], 1.05f, 1e-5);
    EXPECT_NEAR(f.directionalRadiance[3], 0.22f, 1e-5);
    EXPECT_NEAR(f.ambient.y, 0.14f, 1e-5);
    // An unrotated light shines down its -Z: the direction towards it is +Z.
    EXPECT_FLOAT_EQ(f.directionalDirection[2], 1);
}

TEST(FrameLightsTest, firstShadowCastingDirectionalLightGetsTheCascades) {
    FrameLights f;
    f.clear();
    const Light sky = light(Light::Type::directional, 220);
    const Light sun = light(Light::Type::directional, 1050, true);
    const Float4x4 aim = RenderMath::lookAlong({0, 0, 0}, {0, -1, 0}, {0, 0, 1});
    f.add(sky, {}, 10, true);
    f.add(sun, aim, 10, true);
    EXPECT_EQ(f.sun, &sun);
    EXPECT_EQ(f.sunIndex, 1);
    EXPECT_NEAR(f.sunTravel.y, -1, 1e-5);

    f.clear();
    f.add(sun, aim, 10, false);  // nothing casts: no cascades to draw
    EXPECT_EQ(f.sun, nullptr);
    EXPECT_EQ(f.sunIndex, -1);
}

TEST(FrameLightsTest, onlyTheFirstTwoOmniLightsGetShadowViews) {
    FrameLights f;
    f.clear();
    const Light omni = light(Light::Type::omni, 2064, true);
    for (int i = 0; i < 3; ++i) f.add(omni, Float4x4::translation({float(i), 0, 2}), 10, true);
    EXPECT_EQ(f.localCount, 3);
    EXPECT_EQ(f.localShadowViews, 12);
    EXPECT_EQ(f.localFalloff[3], 0);
    EXPECT_EQ(f.localFalloff[7], 6);
    EXPECT_EQ(f.localFalloff[11], -1);  // the third still lights, without shadow
}

TEST(FrameLightsTest, spotTakesOneViewAndItsConeAsCosines) {
    FrameLights f;
    f.clear();
    Light spot = light(Light::Type::spot, 2064, true);
    spot.spotInnerAngle = 82;
    spot.spotOuterAngle = 110;
    f.add(spot, {}, 10, true);
    EXPECT_EQ(f.localShadowViews, 1);
    EXPECT_EQ(f.localPosition[3], 1);
    EXPECT_NEAR(f.localRadiance[3], std::cos(41 * 3.14159265 / 180), 1e-5);
    EXPECT_NEAR(f.localDirection[3], std::cos(55 * 3.14159265 / 180), 1e-5);
}

TEST(FrameLightsTest, darkLightsAreLeftOut) {
    FrameLights f;
    f.clear();
    f.add(light(Light::Type::omni, 0, true), {}, 10, true);
    f.add(light(Light::Type::directional, -5), {}, 10, true);
    EXPECT_EQ(f.localCount, 0);
    EXPECT_EQ(f.directionalCount, 0);
    EXPECT_EQ(f.localShadowViews, 0);
}

}  // namespace

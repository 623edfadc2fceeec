#include "gl/LightColor.h"

#include <gtest/gtest.h>

#include "vocabulary/Rendering.h"

using namespace vistrel;
using namespace vistrel::viewport;

namespace {

TEST(LightColorTest, blackBodyIsWhiteAt6500AndWarmOrCoolAround) {
    const Float3 white = LightColor::blackBody(6500);
    EXPECT_NEAR(white.x, 1, 1e-5);
    EXPECT_NEAR(white.y, 1, 1e-5);
    EXPECT_NEAR(white.z, 1, 1e-5);
    const Float3 warm = LightColor::blackBody(5800), warmer = LightColor::blackBody(5400);
    EXPECT_GT(warm.x, warm.z);
    EXPECT_LT(warmer.z, warm.z);
    const Float3 cool = LightColor::blackBody(7500);
    EXPECT_LT(cool.x, cool.z);
}

TEST(LightColorTest, irradianceOfAUniformSkyIsItsRadianceAndOfTheSkyIsBlueAbove) {
    Image sky;
    sky.width = 64;
    sky.height = 32;
    sky.pixels.assign(size_t(64 * 32 * 4), 255);
    const auto sh = LightColor::irradianceCoefficients(sky);
    for (Float3 n : {Float3{0, 1, 0}, Float3{0, -1, 0}, Float3{1, 0, 0}, Float3{0, 0, 1}}) {
        const Float3 e = LightColor::irradiance(sh, n);
        EXPECT_NEAR(e.x, 1, 0.02);
        EXPECT_NEAR(e.z, 1, 0.02);
    }
    // The generated sky lights upward faces blue, downward ones grey.
    const auto generated = LightColor::irradianceCoefficients(Rendering::skyImage(false));
    const Float3 up = LightColor::irradiance(generated, {0, 1, 0});
    const Float3 down = LightColor::irradiance(generated, {0, -1, 0});
    EXPECT_GT(up.z, up.x);  // the zenith is blue
    EXPECT_GT(up.z, down.z);
    EXPECT_GT(down.x, 0.05f);  // the ground still returns some light
}

}  // namespace

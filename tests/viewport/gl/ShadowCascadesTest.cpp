#include "gl/ShadowCascades.h"

#include <gtest/gtest.h>

#include <cmath>

#include "gl/RenderMath.h"
#include "vocabulary/Rendering.h"

using namespace vistrel;
using namespace vistrel::viewport;

namespace {

Light sunLight(int cascades, float maximumDistance = 100) {
    return {.type = Light::Type::directional,
            .shadowMapSize = 2048,
            .shadowCascadeCount = cascades,
            .maximumShadowDistance = maximumDistance};
}

RenderCamera cameraAt(Float3 eye, Float3 target, bool parallel = false) {
    RenderCamera c;
    c.cameraToWorld = RenderMath::lookAlong(eye, normalize(target - eye), {0, 1, 0});
    c.settings.fieldOfView = 35;
    c.settings.usesOrthographicProjection = parallel;
    c.settings.orthographicScale = 5;
    Rendering::configure(c.settings);
    return c;
}

bool inside(const Float4x4& m, Float3 p) {
    const Float4 c = RenderMath::transform(m, {p.x, p.y, p.z, 1});
    return std::fabs(c.x / c.w) <= 1 && std::fabs(c.y / c.w) <= 1 && std::fabs(c.z / c.w) <= 1;
}

const Float3 kTravel = normalize(Float3{0.5f, -0.7f, 0.5f});

TEST(ShadowCascadesTest, slicesGrowOutwardAndStopAtTheMaximumShadowDistance) {
    ShadowCascades s;
    s.count = 3;
    s.size = 2048;
    const RenderCamera camera = cameraAt({0, 2, 10}, {0, 0, 0});
    s.fit(sunLight(3, 40), kTravel, camera, 1.5f, 0.1f, 500, {-5, 0, -5}, {5, 1, 5});
    ASSERT_EQ(s.count, 3);
    EXPECT_LT(s.far[0], s.far[1]);
    EXPECT_LT(s.far[1], s.far[2]);
    EXPECT_FLOAT_EQ(s.far[2], 40);
    // Nearer slices are smaller, so their texels are finer.
    EXPECT_LT(s.texel[0], s.texel[1]);
    EXPECT_LT(s.texel[1], s.texel[2]);
    s.count = 1;  // low quality: one cascade over the whole range
    s.fit(sunLight(1, 25), kTravel, camera, 1.5f, 0.1f, 60, {0, 0, 0}, {1, 1, 1});
    EXPECT_FLOAT_EQ(s.far[0], 25);
}

TEST(ShadowCascadesTest, eachBoxHoldsItsSliceAndEveryCaster) {
    for (bool parallel : {false, true}) {
        ShadowCascades s;
        s.count = 3;
        s.size = 2048;
        const RenderCamera camera = cameraAt({3, 4, 12}, {0, 0, 0}, parallel);
        const Float3 casterMin{-6, -1, -6}, casterMax{6, 3, 6};
        s.fit(sunLight(3), kTravel, camera, 1.5f, parallel ? -2.0f : 0.5f, 30, casterMin,
              casterMax);
        float near = parallel ? -2.0f : 0.5f;
        const float tanHalf = std::tan(35 * 3.14159265f / 360);
        for (int c = 0; c < s.count; ++c) {
            for (float d : {near, s.far[size_t(c)]}) {
                const float hh = parallel ? 5 : d * tanHalf, hw = hh * 1.5f;
                for (float sx : {-1.0f, 1.0f})
                    for (float sy : {-1.0f, 1.0f}) {
                        const Float3 p =
                            camera.cameraToWorld.transformPoint({sx * hw, sy * hh, -d});
                        EXPECT_TRUE(inside(s.viewProjection[size_t(c)], p))
                            << (parallel ? "parallel" : "perspective") << " cascade " << c;
                    }
            }
            // A caster between the light and the slice is not clipped away by the near plane.
            const Float3 centre = camera.cameraToWorld.transformPoint({0, 0, -s.far[size_t(c)]});
            const Float4 up = RenderMath::transform(s.viewProjection[size_t(c)],
                                                    {centre.x, casterMax.y, centre.z, 1});
            EXPECT_GE(up.z / up.w, -1.0f);
            near = s.far[size_t(c)];
        }
    }
}

}  // namespace

#include "gl/ShadowCascades.h"

#include <algorithm>
#include <cmath>
#include <numbers>

#include "gl/RenderMath.h"

namespace vistrel::viewport {

void ShadowCascades::fit(const Light& sun, Float3 travel, const RenderCamera& camera, float aspect,
                         float near, float farPlane, Float3 casterMin, Float3 casterMax) {
    const int n = std::clamp(count, 1, maxCount);
    const bool ortho = camera.settings.usesOrthographicProjection;
    const float shadowFar = ortho
                                ? std::min(farPlane, near + sun.maximumShadowDistance)
                                : std::max(std::min(farPlane, sun.maximumShadowDistance), near * 2);
    // Parallel projection has no perspective to compensate: even slices.
    const float lambda = ortho ? 0.0f : std::clamp(sun.shadowCascadeSplittingFactor, 0.0f, 1.0f);
    const float tanHalf = float(std::tan(camera.settings.fieldOfView * std::numbers::pi / 360));
    const bool hasCasters = casterMax.x >= casterMin.x;
    // The light's own frame; its x and y are the map's axes.
    const Float4x4 frame = RenderMath::lookAlong({0, 0, 0}, travel, {0, 1, 0});
    const Float3 x = frame.column3(0), y = frame.column3(1);
    float sliceNear = near;
    for (int c = 0; c < n; ++c) {
        const float i = float(c + 1) / float(n);
        const float logSplit = ortho ? 0.0f : near * std::pow(shadowFar / near, i);
        const float evenSplit = near + (shadowFar - near) * i;
        const float sliceFar =
            c == n - 1 ? shadowFar : lambda * logSplit + (1 - lambda) * evenSplit;
        Float3 corners[8];
        Float3 center;
        for (int k = 0; k < 8; ++k) {
            const float d = k & 4 ? sliceFar : sliceNear;
            const float hh = ortho ? float(camera.settings.orthographicScale) : d * tanHalf;
            const float hw = hh * aspect;
            corners[k] =
                camera.cameraToWorld.transformPoint({k & 1 ? hw : -hw, k & 2 ? hh : -hh, -d});
            center += corners[k] / 8.0f;
        }
        float radius = 0;
        for (const Float3& p : corners) radius = std::max(radius, length(p - center));
        // A bounding sphere keeps the box the same size whichever way the camera turns; two
        // texels more cover the snapping below.
        radius = std::max(radius, 1e-3f) * (1 + 4.0f / float(size));
        // Snap the centre to whole texels so the map does not shimmer as the camera moves.
        const float t = 2 * radius / float(size);
        const float cx = std::floor(dot(center, x) / t) * t;
        const float cy = std::floor(dot(center, y) / t) * t;
        center = center + x * (cx - dot(center, x)) + y * (cy - dot(center, y));
        float tMin = -radius, tMax = radius;
        if (hasCasters)
            for (int k = 0; k < 8; ++k) {
                const Float3 p{k & 1 ? casterMax.x : casterMin.x, k & 2 ? casterMax.y : casterMin.y,
                               k & 4 ? casterMax.z : casterMin.z};
                const float along = dot(p - center, travel);
                tMin = std::min(tMin, along);
                tMax = std::max(tMax, along);
            }
        const float margin = 0.01f * (tMax - tMin) + 0.01f;
        const Float3 eye = center + travel * (tMin - margin);
        const Float4x4 view = RenderMath::inverse(RenderMath::lookAlong(eye, travel, y));
        const Float4x4 projection =
            RenderMath::orthographic(radius, radius, 0, tMax - tMin + 2 * margin);
        viewProjection[size_t(c)] = projection * view;
        far[size_t(c)] = sliceFar;
        texel[size_t(c)] = t;
        sliceNear = sliceFar;
    }
    count = n;
}

}  // namespace vistrel::viewport

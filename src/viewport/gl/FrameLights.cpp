#include "gl/FrameLights.h"

#include <algorithm>
#include <cmath>
#include <numbers>

#include "gl/LightColor.h"
#include "gl/RenderMath.h"

namespace vistrel::viewport {

Float3 FrameLights::radiance(const Light& l) {
    const Float3 t = LightColor::blackBody(l.temperature);
    const float s = std::max(l.intensity, 0.0f) / 1000;
    return {l.color.x * t.x * s, l.color.y * t.y * s, l.color.z * t.z * s};
}

void FrameLights::clear() {
    ambient = {};
    directionalCount = 0;
    sun = nullptr;
    sunIndex = -1;
    localCount = 0;
    localShadowViews = 0;
    localShadowSize = 0;
}

void FrameLights::add(const Light& l, const Float4x4& world, float sceneSize,
                      bool shadowsPossible) {
    if (l.intensity <= 0) return;
    const Float3 rad = radiance(l);
    const Float3 axis = normalize(world.transformVector({0, 0, -1}));
    const Float3 position = world.column3(3);
    constexpr float pi = std::numbers::pi_v<float>;
    switch (l.type) {
        case Light::Type::ambient:
            ambient += rad;
            return;
        case Light::Type::directional: {
            if (directionalCount == maxDirectional) return;
            const size_t k = size_t(directionalCount * 3);
            directionalDirection[k] = -axis.x;
            directionalDirection[k + 1] = -axis.y;
            directionalDirection[k + 2] = -axis.z;
            directionalRadiance[k] = rad.x;
            directionalRadiance[k + 1] = rad.y;
            directionalRadiance[k + 2] = rad.z;
            if (l.castsShadow && !sun && shadowsPossible) {
                sun = &l;
                sunIndex = directionalCount;
                sunTravel = axis;
            }
            ++directionalCount;
            return;
        }
        case Light::Type::spot:
        case Light::Type::omni:
            break;
    }
    if (localCount == maxLocal) return;
    const bool spot = l.type == Light::Type::spot;
    const float inner = std::cos(l.spotInnerAngle * pi / 360);
    const float outer = std::min(std::cos(l.spotOuterAngle * pi / 360), inner - 1e-4f);
    const size_t k = size_t(localCount * 4);
    localPosition[k] = position.x;
    localPosition[k + 1] = position.y;
    localPosition[k + 2] = position.z;
    localPosition[k + 3] = spot ? 1 : 0;
    localDirection[k] = axis.x;
    localDirection[k + 1] = axis.y;
    localDirection[k + 2] = axis.z;
    localDirection[k + 3] = outer;
    localRadiance[k] = rad.x;
    localRadiance[k + 1] = rad.y;
    localRadiance[k + 2] = rad.z;
    localRadiance[k + 3] = inner;
    localFalloff[k] = l.attenuationStartDistance;
    localFalloff[k + 1] = l.attenuationEndDistance;
    localFalloff[k + 2] = l.attenuationFalloffExponent;
    localFalloff[k + 3] = -1;
    ++localCount;

    const int needed = spot ? 1 : 6;
    if (!l.castsShadow || !shadowsPossible || localShadowViews + needed > maxLocalShadowViews)
        return;
    localFalloff[k + 3] = float(localShadowViews);
    if (!localShadowSize) localShadowSize = std::clamp(l.shadowMapSize, 256, 2048);
    const float zNear = 0.05f;
    const float zFar =
        l.attenuationEndDistance > 0 ? l.attenuationEndDistance : std::max(sceneSize * 1.4f, 8.0f);
    if (spot) {
        const float fov = std::min(l.spotOuterAngle + 10, 170.0f) * pi / 180;
        localShadowMatrix[size_t(localShadowViews)] =
            RenderMath::perspective(fov, 1, zNear, zFar) *
            RenderMath::inverse(RenderMath::lookAlong(position, axis, {0, 1, 0}));
    } else {
        static constexpr Float3 faces[6] = {{1, 0, 0},  {-1, 0, 0}, {0, 1, 0},
                                            {0, -1, 0}, {0, 0, 1},  {0, 0, -1}};
        for (int f = 0; f < 6; ++f)
            localShadowMatrix[size_t(localShadowViews + f)] =
                RenderMath::perspective(pi / 2, 1, zNear, zFar) *
                RenderMath::inverse(RenderMath::lookAlong(position, faces[f], {0, 1, 0}));
    }
    localShadowViews += needed;
}

}  // namespace vistrel::viewport

// The lights of one frame as the surface shader takes them, without GL: directional lights
// (the first shadow-casting one gets the cascades), the sum of ambient lights, and spot and omni
// lights with their cone, falloff and shadow views. A spot light needs one shadow view and an
// omni light six; the budget is twelve, so the first two shadow-casting omni lights get theirs.
// Radiance is the light's colour times its black-body tint times lumens / 1000.
#pragma once

#include <array>

#include "model/Math.h"
#include "scene/Light.h"

namespace vistrel::viewport {

struct FrameLights {
    static constexpr int maxDirectional = 4;
    static constexpr int maxLocal = 32;
    static constexpr int maxLocalShadowViews = 12;

    Float3 ambient;
    int directionalCount = 0;
    std::array<float, maxDirectional * 3> directionalDirection{};  // towards the light
    std::array<float, maxDirectional * 3> directionalRadiance{};
    const Light* sun = nullptr;  // the directional light with cascades
    int sunIndex = -1;
    Float3 sunTravel;  // the direction its light travels

    int localCount = 0;
    std::array<float, maxLocal * 4> localPosition{};   // xyz, w: 1 for a spot
    std::array<float, maxLocal * 4> localDirection{};  // axis, w: cos of the outer half-angle
    std::array<float, maxLocal * 4> localRadiance{};   // rgb, w: cos of the inner half-angle
    std::array<float, maxLocal * 4> localFalloff{};    // start, end, exponent, first view or -1
    int localShadowViews = 0;
    int localShadowSize = 0;  // texels, from the first shadow-casting local light
    std::array<Float4x4, maxLocalShadowViews> localShadowMatrix;  // omni faces: +X -X +Y -Y +Z -Z

    void clear();
    // `world` is the light node's world transform; lights shine along its -Z. Shadows are
    // granted only with `shadowsPossible` (something casts). `sceneSize` bounds the shadow
    // range of a light without attenuation. Lights past the limits are ignored.
    void add(const Light& light, const Float4x4& world, float sceneSize, bool shadowsPossible);

    static Float3 radiance(const Light& light);
};

}  // namespace vistrel::viewport

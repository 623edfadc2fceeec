// A light of the scene, in the renderer's terms: intensity in lumens as the look was designed,
// colour temperature in kelvin, and shadow settings for the shadow-casting kinds. Directional
// and spot lights shine along their node's local -Z axis; omni and spot lights sit at the
// node's origin; an ambient light has neither.
#pragma once

#include "model/Math.h"

namespace vistrel::viewport {

struct Light {
    enum class Type { ambient, directional, spot, omni };

    Type type = Type::omni;
    Float3 color{1, 1, 1};
    float intensity = 1000;  // lumens
    float temperature = 6500;
    bool castsShadow = false;
    // Shadows.
    int shadowMapSize = 2048;
    int shadowSampleCount = 1;
    float shadowRadius = 1;
    Float4 shadowColor{0, 0, 0, 0.5f};
    int shadowCascadeCount = 1;
    float shadowCascadeSplittingFactor = 0.5f;
    bool automaticallyAdjustsShadowProjection = true;
    float maximumShadowDistance = 100;
    float zNear = 0.1f;  // shadow projection range of spot and omni lights
    float zFar = 100;
    float orthographicScale = 1;
    // Spot cone in degrees, attenuation distances in metres (0 end: no falloff).
    float spotInnerAngle = 0;
    float spotOuterAngle = 45;
    float attenuationStartDistance = 0;
    float attenuationEndDistance = 0;
    float attenuationFalloffExponent = 2;
    int categoryBitMask = -1;  // which node categories it lights
};

}  // namespace vistrel::viewport

// Cascaded shadow maps of a directional light, without GL: the camera's depth range is cut
// into slices (logarithmic and even splits blended by the light's splitting factor, even in
// parallel projection) and one light-space box is fitted around each slice, reaching back
// towards the light far enough to catch every caster.
#pragma once

#include <array>

#include "gl/RenderCamera.h"
#include "model/Math.h"
#include "scene/Light.h"

namespace vistrel::viewport {

struct ShadowCascades {
    static constexpr int maxCount = 3;

    int count = 0;                                  // set with size before fit()
    int size = 0;                                   // texels per side of each map
    std::array<Float4x4, maxCount> viewProjection;  // world to the map's clip space
    std::array<float, 4> far{};                     // view depth where each slice ends
    std::array<float, 4> texel{};                   // world size of one texel

    // `travel`: unit direction the light travels, in world space. `near`/`far`: the camera's
    // depth range. The slices end at the light's maximumShadowDistance if that comes first.
    // `casterMin`/`casterMax`: world box of everything that casts; min above max means none.
    void fit(const Light& sun, Float3 travel, const RenderCamera& camera, float aspect, float near,
             float far, Float3 casterMin, Float3 casterMax);
};

}  // namespace vistrel::viewport

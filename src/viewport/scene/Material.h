// How a surface or line is shaded: a physically based surface lit by the scene's lights, or a
// constant colour (edges, grid, gizmos). Plain data a renderer reads; shared between nodes by
// pointer, so a style change swaps pointers and never touches geometry.
#pragma once

#include <memory>
#include <optional>

#include "image/Image.h"
#include "model/Math.h"
#include "scene/Geometry.h"

namespace vistrel::viewport {

struct Material {
    enum class LightingModel { physicallyBased, constant };
    enum class TransparencyMode { aOne, dualLayer };

    LightingModel lightingModel = LightingModel::physicallyBased;
    Float4 diffuseColor{1, 1, 1, 1};            // sRGB with alpha; used when there is no image
    std::shared_ptr<const Image> diffuseImage;  // decoded texture, shared by every variant
    Float4x4 contentsTransform;                 // applied to texture coordinates
    bool wrapRepeat = false;
    float roughness = 0.85f;
    float metalness = 0;
    bool isDoubleSided = false;
    float transparency = 1;  // 1 is opaque
    TransparencyMode transparencyMode = TransparencyMode::aOne;
    bool readsFromDepthBuffer = true;
    bool writesToDepthBuffer = true;
    Float3 emission{0, 0, 0};
    // Surface alpha adjustments: alpha *= alphaMultiply, then alpha = min(alpha, alphaMax).
    std::optional<float> alphaMultiply;
    std::optional<float> alphaMax;
    // Lines that sit on faces are pulled towards the eye to win the depth test.
    bool edgeDepthBias = false;

    bool isSeeThrough() const { return transparency < 1 || !writesToDepthBuffer; }

    mutable std::shared_ptr<GpuResource> gpu;
};

}  // namespace vistrel::viewport

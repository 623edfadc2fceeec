// Colour helpers the renderer shares with its tests; no GL here.
#pragma once

#include <array>

#include "image/Image.h"
#include "model/Math.h"

namespace vistrel::viewport::LightColor {

// sRGB component to linear; values above 1 follow the same curve (HDR highlight colours).
float srgbToLinear(float c);
Float3 srgbToLinear(Float3 c);

// Linear RGB of a black body at `kelvin`, normalised so that 6500 K is white (1, 1, 1).
Float3 blackBody(float kelvin);

// Nine spherical-harmonic coefficients of the irradiance of an equirectangular sRGB image whose
// row 0 is the zenith (+Y in the renderer's world), scaled by 1/pi so that a uniform sky of
// radiance L gives back L. Evaluate with irradiance().
std::array<Float3, 9> irradianceCoefficients(const Image& sky);
Float3 irradiance(const std::array<Float3, 9>& sh, Float3 normal);

}  // namespace vistrel::viewport::LightColor

// Stateless rendering rules shared by the viewport, the commands and remote control: the curve
// of the light sliders, the backdrop colours and images, the edge colour that stays legible on
// each backdrop, and the fixed camera post-processing values. Colours are sRGB, 0...1.
#pragma once

#include <string>

#include "camera/CameraSettings.h"
#include "image/Image.h"
#include "model/Math.h"
#include "vocabulary/BackdropStyle.h"
#include "vocabulary/ShadingStyle.h"

namespace vistrel::viewport::Rendering {

inline constexpr double defaultAmbientOcclusionIntensity = 0.7;
// What a view shows before a scene is presented (the dark theme's window colour).
inline constexpr Float3 viewBackgroundColor{0.067f, 0.075f, 0.09f};
inline constexpr Float3 defaultCustomBackdropColor{0.14f, 0.16f, 0.20f};
inline constexpr float defaultAmbientIntensity = 1.0f;
inline constexpr float defaultSunIntensity = 1.0f;
inline constexpr double lightCurveExponent = 2.6;

// Slider position (clamped to 0...1) to power; positions up to 1e-5 give exactly 0.
float sliderToLightIntensity(double value, double maxIntensity);
// Power to slider position, the inverse of the curve; 0 for a maximum at most 0, for a value
// that is not at least 0 (NaN included) and for values up to 1e-6.
double lightIntensityToSlider(float intensity, double maxIntensity);
// "0 %", "5.0 %" ("5,0 %" in French) below 10 %, "50 %" from there; locale-independent.
std::string formatLightPercentage(float value);

struct GradientStops {
    Float3 top, mid, bottom;
    friend bool operator==(const GradientStops&, const GradientStops&) = default;
};

// The custom colour counts only for customColor, and is clamped to 0...1 first.
GradientStops backdropGradientStops(BackdropStyle style, Float3 customColor);
Float3 backdropRepresentativeColor(BackdropStyle style, Float3 customColor);
// Rec. 709 luma of the representative colour.
float backdropLuminance(BackdropStyle style, Float3 customColor);
Float3 contrastingEdgeColor(BackdropStyle style, Float3 customColor, ShadingStyle shading);

// 4 x 256 vertical gradient of the backdrop, stretched by the renderer.
Image backdropImage(BackdropStyle style, Float3 customColor);
// With backdrop true, the architecturalSky backdrop image; otherwise the 512 x 256
// equirectangular sky used for image-based lighting (row 0 is the zenith).
Image skyImage(bool backdrop);

// Writes the fixed post-processing values; ambient occlusion follows the projection.
void configure(CameraSettings& camera);
// Ambient occlusion is never on in parallel projection: call again after every projection change.
void setAmbientOcclusion(bool enabled, double intensity, CameraSettings& camera);

}  // namespace vistrel::viewport::Rendering

#include "vocabulary/Rendering.h"

#include <algorithm>
#include <charconv>
#include <cmath>
#include <numbers>

#include "settings/Localization.h"
#include "vocabulary/DocumentSettings.h"

namespace vistrel::viewport::Rendering {

namespace {

// Below this luma a backdrop counts as dark and wants light edges.
constexpr float darkLimit = 0.52f;

float clamp01(float v) {
    return std::clamp(v, 0.0f, 1.0f);
}

Float3 clamp01(Float3 c) {
    return {clamp01(c.x), clamp01(c.y), clamp01(c.z)};
}

std::uint8_t toByte(double v) {
    return std::uint8_t(std::clamp(v, 0.0, 1.0) * 255);
}

// An image whose rows each hold one colour.
template <typename RowColor>
Image rowImage(int width, int height, RowColor colorOfRow) {
    Image image{width, height, true, {}};
    image.pixels.resize(image.bytesPerRow() * std::size_t(height));
    std::uint8_t* p = image.pixels.data();
    for (int y = 0; y < height; ++y) {
        const std::array<std::uint8_t, 3> c = colorOfRow(y);
        for (int x = 0; x < width; ++x, p += 4) {
            p[0] = c[0];
            p[1] = c[1];
            p[2] = c[2];
            p[3] = 255;
        }
    }
    return image;
}

}  // namespace

float sliderToLightIntensity(double value, double maxIntensity) {
    const double v = std::clamp(value, 0.0, 1.0);
    if (!(v > 1e-5)) return 0;
    return float(std::pow(v, lightCurveExponent) * maxIntensity);
}

double lightIntensityToSlider(float intensity, double maxIntensity) {
    const double v = std::min(double(intensity), maxIntensity);
    if (maxIntensity <= 0 || !(v >= 0) || v <= 1e-6) return 0;
    return std::pow(v / maxIntensity, 0.3846153846153846);
}

std::string formatLightPercentage(float value) {
    const double p = std::max(double(value) * 100, 0.0);
    if (!(p >= 0.05)) return "0 %";
    char buffer[64];
    if (p < 10) {
        auto end =
            std::to_chars(buffer, buffer + sizeof buffer, p, std::chars_format::fixed, 1).ptr;
        std::string text(buffer, end);
        if (!Localization::isEnglish()) std::replace(text.begin(), text.end(), '.', ',');
        return text + " %";
    }
    auto end =
        std::to_chars(buffer, buffer + sizeof buffer, std::round(p), std::chars_format::fixed, 0)
            .ptr;
    return std::string(buffer, end) + " %";
}

GradientStops backdropGradientStops(BackdropStyle style, Float3 customColor) {
    switch (style) {
        case BackdropStyle::architecturalSky:
            return {{0.24f, 0.31f, 0.42f}, {0.42f, 0.49f, 0.59f}, {0.72f, 0.74f, 0.77f}};
        case BackdropStyle::studioDark:
            return {{0.09f, 0.11f, 0.14f}, {0.13f, 0.15f, 0.20f}, {0.18f, 0.21f, 0.26f}};
        case BackdropStyle::warmPaper:
            return {{0.88f, 0.87f, 0.84f}, {0.93f, 0.92f, 0.89f}, {0.83f, 0.81f, 0.78f}};
        case BackdropStyle::customColor:
            break;
    }
    const Float3 mid = clamp01(customColor);
    return {clamp01(mid * 0.92f), mid, clamp01(mid + Float3{0.04f, 0.04f, 0.04f})};
}

Float3 backdropRepresentativeColor(BackdropStyle style, Float3 customColor) {
    return backdropGradientStops(style, customColor).mid;
}

float backdropLuminance(BackdropStyle style, Float3 customColor) {
    const Float3 c = backdropRepresentativeColor(style, customColor);
    // Summed in double so that a grey of exactly g has a luma of exactly g.
    return float(0.2126 * c.x + 0.7152 * c.y + 0.0722 * c.z);
}

Float3 contrastingEdgeColor(BackdropStyle style, Float3 customColor, ShadingStyle shading) {
    const bool dark = backdropLuminance(style, customColor) < darkLimit;
    const bool wireframe = shading == ShadingStyle::wireframe;
    // Clay faces are light, so dark edges stay legible on them even over a dark backdrop.
    if (shading == ShadingStyle::clay && style != BackdropStyle::warmPaper && dark)
        return {0.16f, 0.18f, 0.22f};
    // The soft sky sits just below the limit yet reads better with dark edges, except when the
    // edges are all that is drawn.
    if (style == BackdropStyle::architecturalSky && !wireframe) return {0.14f, 0.16f, 0.20f};
    if (dark) return wireframe ? Float3{0.95f, 0.96f, 0.99f} : Float3{0.86f, 0.89f, 0.94f};
    if (wireframe) return {0.07f, 0.09f, 0.12f};
    return {0.14f, 0.16f, 0.20f};
}

Image backdropImage(BackdropStyle style, Float3 customColor) {
    const GradientStops stops = backdropGradientStops(style, customColor);
    return rowImage(4, 256, [&](int y) {
        const double t = (y + 0.5) / 256;
        const bool upper = t < 0.58;
        const double u = upper ? t / 0.58 : (t - 0.58) / 0.42;
        const Float3 from = upper ? stops.top : stops.mid;
        const Float3 to = upper ? stops.mid : stops.bottom;
        const double s = u * u * (3 - 2 * u);
        auto mix = [s](float a, float b) { return toByte(a + (double(b) - a) * s); };
        return std::array<std::uint8_t, 3>{mix(from.x, to.x), mix(from.y, to.y), mix(from.z, to.z)};
    });
}

Image skyImage(bool backdrop) {
    if (backdrop) return backdropImage(BackdropStyle::architecturalSky, defaultCustomBackdropColor);
    return rowImage(512, 256, [](int y) {
        const double e = (0.5 - (y + 0.5) / 256) * std::numbers::pi;
        const double horizon[3] = {0.96, 0.95, 0.92};
        const double towardsZenith[3] = {-0.44, -0.26, -0.02};
        const double towardsGround[3] = {-0.62, -0.60, -0.54};
        // Warm white at the horizon; the ground reaches its grey within 0.18 rad below it.
        const double k = e >= 0 ? std::pow(std::sin(e), 0.65) : std::min(e / -0.18, 1.0);
        const double* slope = e >= 0 ? towardsZenith : towardsGround;
        std::array<std::uint8_t, 3> c;
        for (int i = 0; i < 3; ++i) c[i] = toByte(horizon[i] + slope[i] * k);
        return c;
    });
}

void configure(CameraSettings& camera) {
    camera.wantsHDR = true;
    camera.wantsExposureAdaptation = false;
    camera.exposureOffset = DocumentSettings{}.exposureOffset;
    camera.contrast = 0.06;
    camera.saturation = 1.04;
    camera.automaticallyAdjustsZRange = true;
    camera.screenSpaceAmbientOcclusionRadius = 0.3;
    camera.screenSpaceAmbientOcclusionBias = 0.08;
    camera.screenSpaceAmbientOcclusionDepthThreshold = 2.0;
    camera.bloomIntensity = 0;
    camera.motionBlurIntensity = 0;
    camera.colorFringeIntensity = 0;
    camera.screenSpaceAmbientOcclusionIntensity =
        camera.usesOrthographicProjection ? 0 : defaultAmbientOcclusionIntensity;
}

void setAmbientOcclusion(bool enabled, double intensity, CameraSettings& camera) {
    if (!enabled || camera.usesOrthographicProjection) {
        camera.screenSpaceAmbientOcclusionIntensity = 0;
        return;
    }
    camera.screenSpaceAmbientOcclusionIntensity = intensity >= 0 ? intensity : 0;
}

}  // namespace vistrel::viewport::Rendering

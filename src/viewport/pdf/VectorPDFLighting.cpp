#include "pdf/VectorPDFLighting.h"

#include <stb_image.h>

#include <algorithm>
#include <cmath>
#include <numbers>

namespace vistrel::viewport::VectorPDFExporter {

namespace {

constexpr float kDegrees = std::numbers::pi_v<float> / 180;

Float3 clamp01(Float3 c) {
    return {std::clamp(c.x, 0.0f, 1.0f), std::clamp(c.y, 0.0f, 1.0f), std::clamp(c.z, 0.0f, 1.0f)};
}

}  // namespace

std::optional<Float3> averageTextureColor(const std::filesystem::path& path) {
    int w = 0, h = 0, channels = 0;
    unsigned char* data = stbi_load(path.c_str(), &w, &h, &channels, 4);
    if (!data) return std::nullopt;

    // Each of the 8 x 8 cells is the box average of its share of the image, in premultiplied
    // 8-bit values, as drawing the image into an 8 x 8 buffer gives.
    constexpr int kCells = 8;
    double sum[3] = {0, 0, 0};
    int counted = 0;
    for (int cy = 0; cy < kCells; ++cy) {
        const int y0 = cy * h / kCells, y1 = std::max((cy + 1) * h / kCells, y0 + 1);
        for (int cx = 0; cx < kCells; ++cx) {
            const int x0 = cx * w / kCells, x1 = std::max((cx + 1) * w / kCells, x0 + 1);
            double r = 0, g = 0, b = 0, a = 0;
            for (int y = y0; y < std::min(y1, h); ++y)
                for (int x = x0; x < std::min(x1, w); ++x) {
                    const unsigned char* p = data + (size_t(y) * size_t(w) + size_t(x)) * 4;
                    const double alpha = p[3] / 255.0;
                    r += p[0] * alpha;
                    g += p[1] * alpha;
                    b += p[2] * alpha;
                    a += p[3];
                }
            const double n = double(std::min(x1, w) - x0) * double(std::min(y1, h) - y0);
            const double cellAlpha = std::round(a / n);
            if (cellAlpha <= 0.05 * 255) continue;
            sum[0] += std::round(r / n) / 255;
            sum[1] += std::round(g / n) / 255;
            sum[2] += std::round(b / n) / 255;
            ++counted;
        }
    }
    stbi_image_free(data);
    if (counted == 0) return std::nullopt;
    return Float3{float(sum[0] / counted), float(sum[1] / counted), float(sum[2] / counted)};
}

std::vector<ResolvedMaterial> resolveMaterialColors(const SKPModel& model) {
    std::vector<ResolvedMaterial> out;
    out.reserve(model.materials.size());
    for (const Material& m : model.materials) {
        Float3 color{m.color.x, m.color.y, m.color.z};
        if (m.textureURL) {
            if (auto average = averageTextureColor(*m.textureURL)) {
                const float luminance = 0.2126f * color.x + 0.7152f * color.y + 0.0722f * color.z;
                color = luminance > 0.95f ? *average
                                          : clamp01({color.x * average->x, color.y * average->y,
                                                     color.z * average->z});
            }
        }
        out.push_back({color, std::clamp(m.opacity * m.color.w, 0.05f, 1.0f)});
    }
    return out;
}

LightingRig LightingRig::make(const Options& options, const SKPModel& model) {
    LightingRig rig;
    rig.isSun = options.lightingMode == LightingMode::sun;
    const float a = options.sunAzimuthDegrees * kDegrees;
    const float e = std::clamp(options.sunElevationDegrees, 5.0f, 88.0f) * kDegrees;
    rig.sunDirection =
        normalize({std::cos(a) * std::cos(e), std::sin(a) * std::cos(e), std::sin(e)});
    const float opposite = a + std::numbers::pi_v<float>;
    rig.skyDirection =
        normalize({0.8829476f * std::cos(opposite), 0.8829476f * std::sin(opposite), 0.46947154f});
    rig.sunPower = std::pow(std::max(options.sunIntensity, 0.0f), 1.25f);
    rig.ambientPower = std::pow(std::max(options.ambientIntensity, 0.0f), 1.25f);
    rig.pointLights = options.pointLights;
    const float diagonal = length(model.boundsMax - model.boundsMin);
    rig.reach = 0.65f * diagonal > 1 ? 0.65f * diagonal : 1;
    rig.exposure = std::pow(2.0f, options.exposureOffset + 0.62f) * 0.55f;
    return rig;
}

Float3 LightingRig::shade(Float3 point, Float3 normal, Float3 eye, Float3 baseColor) const {
    Float3 n = normal;
    if (dot(n, eye - point) < 0) n = -n;

    float light = 0;
    if (isSun) {
        light = sunPower * 0.72f * std::max(dot(n, sunDirection), 0.0f) +
                ambientPower * 0.16f * std::max(dot(n, skyDirection), 0.0f) +
                (0.5f * n.z + 0.5f) * 0.24f * ambientPower + 0.18f * ambientPower;
    } else {
        for (const ViewportPointLight& p : pointLights) {
            if (!(p.intensity > 0.0001f)) continue;
            const Float3 toLight = p.position - point;
            const float distance = length(toLight);
            const float d = std::max(distance, 0.05f);
            const Float3 l = distance > 0 ? toLight / distance : Float3{0, 0, 1};
            const float facing = std::max(std::fabs(dot(n, l)), 0.12f);
            const float falloff = std::pow(1 - 0.82f * std::min(d / reach, 1.0f), 1.6f);
            light += facing * falloff * std::pow(p.intensity, 1.35f) * 0.95f;
        }
        light += 0.22f * ambientPower;
    }
    return clamp01(baseColor * (light * exposure));
}

}  // namespace vistrel::viewport::VectorPDFExporter

#include "gl/LightColor.h"

#include <algorithm>
#include <cmath>
#include <numbers>

namespace vistrel::viewport::LightColor {

namespace {

// Tanner Helland's fit of the Planckian locus, in sRGB 0...255.
Float3 helland(float kelvin) {
    const double t = std::clamp(double(kelvin), 1000.0, 40000.0) / 100.0;
    double r, g, b;
    if (t <= 66) {
        r = 255;
        g = 99.4708025861 * std::log(t) - 161.1195681661;
    } else {
        r = 329.698727446 * std::pow(t - 60, -0.1332047592);
        g = 288.1221695283 * std::pow(t - 60, -0.0755148492);
    }
    if (t >= 66)
        b = 255;
    else if (t <= 19)
        b = 0;
    else
        b = 138.5177312231 * std::log(t - 10) - 305.0447927307;
    auto c = [](double v) { return float(std::clamp(v, 0.0, 255.0) / 255.0); };
    return {c(r), c(g), c(b)};
}

}  // namespace

float srgbToLinear(float c) {
    if (c <= 0.04045f) return c / 12.92f;
    return std::pow((c + 0.055f) / 1.055f, 2.4f);
}

Float3 srgbToLinear(Float3 c) {
    return {srgbToLinear(c.x), srgbToLinear(c.y), srgbToLinear(c.z)};
}

Float3 blackBody(float kelvin) {
    const Float3 c = srgbToLinear(helland(kelvin));
    const Float3 white = srgbToLinear(helland(6500));
    return {c.x / white.x, c.y / white.y, c.z / white.z};
}

std::array<Float3, 9> irradianceCoefficients(const Image& sky) {
    std::array<double, 27> acc{};
    if (sky.width <= 0 || sky.height <= 0) return {};
    const double pi = std::numbers::pi;
    const double dTheta = pi / sky.height, dPhi = 2 * pi / sky.width;
    for (int y = 0; y < sky.height; ++y) {
        const double theta = (y + 0.5) * dTheta;
        const double weight = std::sin(theta) * dTheta * dPhi;
        for (int x = 0; x < sky.width; ++x) {
            const double phi = (x + 0.5) * dPhi;
            const double dx = std::sin(theta) * std::cos(phi), dy = std::cos(theta),
                         dz = std::sin(theta) * std::sin(phi);
            const std::uint8_t* p = sky.pixel(x, y);
            const double c[3] = {srgbToLinear(p[0] / 255.0f), srgbToLinear(p[1] / 255.0f),
                                 srgbToLinear(p[2] / 255.0f)};
            const double basis[9] = {0.282095,
                                     0.488603 * dy,
                                     0.488603 * dz,
                                     0.488603 * dx,
                                     1.092548 * dx * dy,
                                     1.092548 * dy * dz,
                                     0.315392 * (3 * dz * dz - 1),
                                     1.092548 * dx * dz,
                                     0.546274 * (dx * dx - dy * dy)};
            for (int k = 0; k < 9; ++k)
                for (int ch = 0; ch < 3; ++ch) acc[size_t(k * 3 + ch)] += c[ch] * basis[k] * weight;
        }
    }
    // Convolution with the clamped cosine, then 1/pi for radiance-like units.
    const double band[9] = {pi,     2 * pi / 3, 2 * pi / 3, 2 * pi / 3, pi / 4,
                            pi / 4, pi / 4,     pi / 4,     pi / 4};
    std::array<Float3, 9> sh;
    for (int k = 0; k < 9; ++k) {
        const double s = band[k] / pi;
        sh[size_t(k)] = {float(acc[size_t(k * 3)] * s), float(acc[size_t(k * 3 + 1)] * s),
                         float(acc[size_t(k * 3 + 2)] * s)};
    }
    return sh;
}

Float3 irradiance(const std::array<Float3, 9>& sh, Float3 n) {
    const float basis[9] = {0.282095f,
                            0.488603f * n.y,
                            0.488603f * n.z,
                            0.488603f * n.x,
                            1.092548f * n.x * n.y,
                            1.092548f * n.y * n.z,
                            0.315392f * (3 * n.z * n.z - 1),
                            1.092548f * n.x * n.z,
                            0.546274f * (n.x * n.x - n.y * n.y)};
    Float3 e;
    for (int k = 0; k < 9; ++k) e += sh[size_t(k)] * basis[k];
    return max(e, Float3{0, 0, 0});
}

}  // namespace vistrel::viewport::LightColor

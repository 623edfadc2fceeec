#include "gl/Shaders.h"

namespace vistrel::viewport::Shaders {

const char* const surfaceVertex = R"(#version 330 core
layout(location = 0) in vec3 aPosition;
layout(location = 1) in vec3 aNormal;
layout(location = 2) in vec2 aUV;
uniform mat4 uModel;
uniform mat3 uNormalMatrix;
uniform mat4 uView;
uniform mat4 uProjection;
uniform mat3 uUVTransform;
uniform bool uEdgeBias;
out vec3 vWorldPosition;
out vec3 vNormal;
out vec3 vViewPosition;
out vec2 vUV;
void main() {
    vec4 world = uModel * vec4(aPosition, 1.0);
    vec4 vp = uView * world;
    if (uEdgeBias) {
        // Lines lying on faces win the depth test: 0.1 % nearer in perspective, a constant
        // screen offset in parallel projection.
        if (uProjection[2][3] != 0.0) vp.xyz *= 0.999;
        else vp.z += 0.001 / uProjection[1][1];
    }
    vWorldPosition = world.xyz;
    vNormal = uNormalMatrix * aNormal;
    vViewPosition = vp.xyz;
    vUV = (uUVTransform * vec3(aUV, 1.0)).xy;
    gl_Position = uProjection * vp;
}
)";

const char* const surfaceFragment = R"(#version 330 core
const int MAX_DIRECTIONAL = 4;
const int MAX_LOCAL = 32;
const int MAX_LOCAL_SHADOW_VIEWS = 12;
const float PI = 3.14159265;

in vec3 vWorldPosition;
in vec3 vNormal;
in vec3 vViewPosition;
in vec2 vUV;
out vec4 fragColor;

uniform bool uConstant;
uniform vec4 uBaseColor;      // linear rgb, alpha
uniform bool uHasTexture;
uniform sampler2D uTexture;   // sRGB texture: samples come back linear
uniform float uAlphaMultiply;
uniform float uAlphaMax;
uniform float uTransparency;
uniform float uRoughness;
uniform float uMetalness;
uniform vec3 uEmission;
uniform vec3 uCameraPosition;

uniform vec3 uAmbient;
uniform int uDirectionalCount;
uniform vec3 uDirectionalDirection[MAX_DIRECTIONAL];  // towards the light
uniform vec3 uDirectionalRadiance[MAX_DIRECTIONAL];
uniform int uSunShadow;  // index of the directional light with cascades, or -1

uniform int uLocalCount;
uniform vec4 uLocalPosition[MAX_LOCAL];   // xyz, w: 1 for a spot
uniform vec4 uLocalDirection[MAX_LOCAL];  // spot axis, w: cos of the outer half-angle
uniform vec4 uLocalRadiance[MAX_LOCAL];   // rgb, w: cos of the inner half-angle
uniform vec4 uLocalFalloff[MAX_LOCAL];    // start, end (0: none), exponent, first shadow view
uniform sampler2DArrayShadow uLocalShadowMaps;
uniform mat4 uLocalShadowMatrix[MAX_LOCAL_SHADOW_VIEWS];

uniform vec3 uIrradiance[9];
uniform float uEnvironmentIntensity;

uniform sampler2DArrayShadow uCascadeMaps;
uniform int uCascadeCount;
uniform mat4 uCascadeMatrix[3];
uniform vec4 uCascadeFar;       // view depth where each cascade ends
uniform vec4 uCascadeTexel;     // world size of one texel per cascade
uniform float uShadowRadius;    // in texels
uniform int uShadowSamples;
uniform vec4 uShadowColor;      // rgb, alpha

uniform sampler2D uOcclusion;
uniform float uOcclusionIntensity;
uniform vec2 uViewportSize;

const vec2 POISSON[16] = vec2[](
    vec2(-0.94201624, -0.39906216), vec2(0.94558609, -0.76890725),
    vec2(-0.09418410, -0.92938870), vec2(0.34495938, 0.29387760),
    vec2(-0.91588581, 0.45771432), vec2(-0.81544232, -0.87912464),
    vec2(-0.38277543, 0.27676845), vec2(0.97484398, 0.75648379),
    vec2(0.44323325, -0.97511554), vec2(0.53742981, -0.47373420),
    vec2(-0.26496911, -0.41893023), vec2(0.79197514, 0.19090188),
    vec2(-0.24188840, 0.99706507), vec2(-0.81409955, 0.91437590),
    vec2(0.19984126, 0.78641367), vec2(0.14383161, -0.14100790));

vec3 irradiance(vec3 n) {
    vec3 e = uIrradiance[0] * 0.282095
           + uIrradiance[1] * 0.488603 * n.y
           + uIrradiance[2] * 0.488603 * n.z
           + uIrradiance[3] * 0.488603 * n.x
           + uIrradiance[4] * 1.092548 * n.x * n.y
           + uIrradiance[5] * 1.092548 * n.y * n.z
           + uIrradiance[6] * 0.315392 * (3.0 * n.z * n.z - 1.0)
           + uIrradiance[7] * 1.092548 * n.x * n.z
           + uIrradiance[8] * 0.546274 * (n.x * n.x - n.y * n.y);
    return max(e, vec3(0.0));
}

float sunShadow(vec3 n, vec3 l) {
    float depth = -vViewPosition.z;
    int c = 0;
    while (c < uCascadeCount - 1 && depth > uCascadeFar[c]) c++;
    if (depth > uCascadeFar[uCascadeCount - 1]) return 0.0;
    // Normal offset: lift the lookup off the surface by about a texel and a half.
    float slope = 1.0 - max(dot(n, l), 0.0);
    vec3 p = vWorldPosition + n * uCascadeTexel[c] * (1.0 + 2.0 * slope);
    vec4 s = uCascadeMatrix[c] * vec4(p, 1.0);
    vec3 uvz = s.xyz / s.w * 0.5 + 0.5;
    if (any(lessThan(uvz.xy, vec2(0.0))) || any(greaterThan(uvz.xy, vec2(1.0))) || uvz.z > 1.0)
        return 0.0;
    vec2 texel = 1.0 / vec2(textureSize(uCascadeMaps, 0).xy);
    int count = clamp(uShadowSamples, 1, 16);
    float lit = 0.0;
    for (int i = 0; i < count; i++) {
        vec2 o = POISSON[i] * uShadowRadius * texel;
        lit += texture(uCascadeMaps, vec4(uvz.xy + o, float(c), uvz.z - 0.0005));
    }
    return 1.0 - lit / float(count);
}

float localShadow(int first, bool spot, vec3 toSurface) {
    int view = first;
    if (!spot) {
        vec3 a = abs(toSurface);
        if (a.x >= a.y && a.x >= a.z) view += toSurface.x > 0.0 ? 0 : 1;
        else if (a.y >= a.z) view += toSurface.y > 0.0 ? 2 : 3;
        else view += toSurface.z > 0.0 ? 4 : 5;
    }
    vec4 s = uLocalShadowMatrix[view] * vec4(vWorldPosition, 1.0);
    if (s.w <= 0.0) return 0.0;
    vec3 uvz = s.xyz / s.w * 0.5 + 0.5;
    if (any(lessThan(uvz, vec3(0.0))) || any(greaterThan(uvz, vec3(1.0)))) return 0.0;
    vec2 texel = 1.0 / vec2(textureSize(uLocalShadowMaps, 0).xy);
    float lit = 0.0;
    for (int i = 0; i < 8; i++) {
        vec2 o = POISSON[i] * 2.0 * texel;
        lit += texture(uLocalShadowMaps, vec4(uvz.xy + o, float(view), uvz.z - 0.0008));
    }
    return 1.0 - lit / 8.0;
}

float ggx(float nh, float a) {
    float a2 = a * a;
    float d = nh * nh * (a2 - 1.0) + 1.0;
    return a2 / (PI * d * d);
}

float visibility(float nl, float nv, float a) {
    float k = a * 0.5;
    return 0.25 / ((nl * (1.0 - k) + k) * (nv * (1.0 - k) + k));
}

vec3 brdf(vec3 n, vec3 v, vec3 l, vec3 albedo, vec3 f0, float a) {
    float nl = max(dot(n, l), 0.0);
    if (nl <= 0.0) return vec3(0.0);
    vec3 h = normalize(v + l);
    float nv = max(dot(n, v), 1e-4);
    vec3 f = f0 + (1.0 - f0) * pow(1.0 - max(dot(v, h), 0.0), 5.0);
    // Lambert without 1/pi, so the specular lobe is scaled by pi to keep the balance.
    vec3 specular = PI * ggx(max(dot(n, h), 0.0), a) * visibility(nl, nv, a) * f;
    return (albedo * (1.0 - uMetalness) + specular) * nl;
}

void main() {
    vec4 base = uBaseColor;
    if (uHasTexture) base = texture(uTexture, vUV);
    float alpha = base.a * uAlphaMultiply;
    alpha = min(alpha, uAlphaMax);
    alpha = min(alpha, uTransparency);
    if (uConstant) {
        fragColor = vec4(base.rgb * alpha, alpha);
        return;
    }
    vec3 albedo = base.rgb;
    vec3 v = normalize(uCameraPosition - vWorldPosition);
    vec3 n = normalize(vNormal);
    if (dot(n, v) < 0.0) n = -n;  // double-sided surfaces light the side the eye sees
    float a = max(uRoughness * uRoughness, 0.02);
    vec3 f0 = mix(vec3(0.04), albedo, uMetalness);

    vec3 color = vec3(0.0);
    for (int i = 0; i < uDirectionalCount; i++) {
        vec3 l = uDirectionalDirection[i];
        vec3 radiance = uDirectionalRadiance[i];
        if (i == uSunShadow) {
            float s = sunShadow(n, l);
            radiance *= vec3(1.0) - s * uShadowColor.a * (vec3(1.0) - uShadowColor.rgb);
        }
        color += brdf(n, v, l, albedo, f0, a) * radiance;
    }
    for (int i = 0; i < uLocalCount; i++) {
        vec3 d = uLocalPosition[i].xyz - vWorldPosition;
        float dist = length(d);
        vec3 l = d / max(dist, 1e-5);
        vec3 radiance = uLocalRadiance[i].rgb;
        vec4 fo = uLocalFalloff[i];
        if (fo.y > 0.0)
            radiance *= pow(clamp((fo.y - dist) / max(fo.y - fo.x, 1e-4), 0.0, 1.0), fo.z);
        bool spot = uLocalPosition[i].w > 0.5;
        if (spot) {
            float c = dot(-l, uLocalDirection[i].xyz);
            radiance *= smoothstep(uLocalDirection[i].w, uLocalRadiance[i].w, c);
        }
        if (fo.w >= 0.0 && dot(radiance, radiance) > 0.0)
            radiance *= 1.0 - localShadow(int(fo.w), spot, -d);
        color += brdf(n, v, l, albedo, f0, a) * radiance;
    }
    float occlusion = 1.0;
    if (uOcclusionIntensity > 0.0) {
        float ao = texture(uOcclusion, gl_FragCoord.xy / uViewportSize).r;
        occlusion = max(1.0 - uOcclusionIntensity * ao, 0.0);
    }
    vec3 ambient = albedo * (1.0 - uMetalness) * uAmbient;
    float nv = max(dot(n, v), 0.0);
    vec3 fr = f0 + (max(vec3(1.0 - uRoughness), f0) - f0) * pow(1.0 - nv, 5.0);
    vec3 env = uEnvironmentIntensity * (albedo * (1.0 - uMetalness) * irradiance(n)
                                        + fr * irradiance(reflect(-v, n)));
    color += (ambient + env) * occlusion;
    color += uEmission;
    fragColor = vec4(color * alpha, alpha);
}
)";

// Lines take the constant path of the surface program with nothing to interpolate: a software
// rasteriser sets up every varying of every segment, and shades every branch.
const char* const lineVertex = R"(#version 330 core
layout(location = 0) in vec3 aPosition;
uniform mat4 uModel;
uniform mat4 uView;
uniform mat4 uProjection;
uniform bool uEdgeBias;
void main() {
    vec4 vp = uView * (uModel * vec4(aPosition, 1.0));
    if (uEdgeBias) {
        if (uProjection[2][3] != 0.0) vp.xyz *= 0.999;
        else vp.z += 0.001 / uProjection[1][1];
    }
    gl_Position = uProjection * vp;
}
)";

const char* const lineFragment = R"(#version 330 core
out vec4 fragColor;
uniform vec4 uBaseColor;  // linear rgb, alpha
uniform float uAlphaMultiply;
uniform float uAlphaMax;
uniform float uTransparency;
void main() {
    float alpha = uBaseColor.a * uAlphaMultiply;
    alpha = min(alpha, uAlphaMax);
    alpha = min(alpha, uTransparency);
    fragColor = vec4(uBaseColor.rgb * alpha, alpha);
}
)";

const char* const depthVertex = R"(#version 330 core
layout(location = 0) in vec3 aPosition;
uniform mat4 uModel;
uniform mat4 uViewProjection;
void main() { gl_Position = uViewProjection * (uModel * vec4(aPosition, 1.0)); }
)";

const char* const depthFragment = R"(#version 330 core
void main() {}
)";

const char* const normalFragment = R"(#version 330 core
in vec3 vWorldPosition;
in vec3 vNormal;
in vec3 vViewPosition;
in vec2 vUV;
uniform mat4 uView;
out vec4 fragNormal;
void main() {
    vec3 n = normalize(mat3(uView) * vNormal);
    if (dot(n, -vViewPosition) < 0.0) n = -n;
    fragNormal = vec4(n, 1.0);
}
)";

const char* const fullscreenVertex = R"(#version 330 core
out vec2 vUV;
void main() {
    vec2 p = vec2(float((gl_VertexID << 1) & 2), float(gl_VertexID & 2));
    vUV = p;
    gl_Position = vec4(p * 2.0 - 1.0, 0.0, 1.0);
}
)";

const char* const ambientOcclusionFragment = R"(#version 330 core
in vec2 vUV;
out vec4 fragOcclusion;
uniform sampler2D uDepth;
uniform sampler2D uNormals;
uniform mat4 uProjection;
uniform mat4 uInverseProjection;
uniform vec3 uKernel[16];
uniform float uRadius;
uniform float uBias;
uniform float uDepthThreshold;
vec3 viewPosition(vec2 uv) {
    float d = texture(uDepth, uv).r;
    vec4 p = uInverseProjection * vec4(uv * 2.0 - 1.0, d * 2.0 - 1.0, 1.0);
    return p.xyz / p.w;
}
float hash(vec2 p) { return fract(sin(dot(p, vec2(12.9898, 78.233))) * 43758.5453); }
void main() {
    if (texture(uDepth, vUV).r >= 1.0) { fragOcclusion = vec4(0.0); return; }
    vec3 p = viewPosition(vUV);
    vec3 n = normalize(texture(uNormals, vUV).xyz);
    // A fixed 4x4 pattern of rotations; the blur pass removes it.
    vec2 cell = mod(gl_FragCoord.xy, 4.0);
    float angle = hash(cell) * 6.2831853;
    vec3 r = vec3(cos(angle), sin(angle), 0.0);
    vec3 t = r - n * dot(r, n);
    if (dot(t, t) < 1e-4) t = abs(n.x) < 0.9 ? vec3(1, 0, 0) : vec3(0, 1, 0);
    t = normalize(t - n * dot(t, n));
    mat3 tbn = mat3(t, cross(n, t), n);
    float occluded = 0.0;
    for (int i = 0; i < 16; i++) {
        vec3 s = p + tbn * uKernel[i] * uRadius;
        vec4 c = uProjection * vec4(s, 1.0);
        vec2 uv = c.xy / c.w * 0.5 + 0.5;
        if (any(lessThan(uv, vec2(0.0))) || any(greaterThan(uv, vec2(1.0)))) continue;
        float sceneZ = viewPosition(uv).z;
        // Samples far in front of the point belong to another object and do not count.
        float range = abs(p.z - sceneZ) < uDepthThreshold ? 1.0 : 0.0;
        occluded += (sceneZ >= s.z + uBias * uRadius ? 1.0 : 0.0) * range;
    }
    fragOcclusion = vec4(occluded / 16.0);
}
)";

const char* const blurFragment = R"(#version 330 core
in vec2 vUV;
out vec4 fragOcclusion;
uniform sampler2D uSource;
void main() {
    vec2 texel = 1.0 / vec2(textureSize(uSource, 0));
    float sum = 0.0;
    for (int x = -2; x < 2; x++)
        for (int y = -2; y < 2; y++) sum += texture(uSource, vUV + (vec2(x, y) + 0.5) * texel).r;
    fragOcclusion = vec4(sum / 16.0);
}
)";

const char* const compositeFragment = R"(#version 330 core
in vec2 vUV;
out vec4 fragColor;
uniform sampler2D uColor;     // resolved HDR, premultiplied, alpha is coverage
uniform sampler2D uBackdrop;  // display-referred, row 0 at the top
uniform float uExposure;
uniform float uContrast;
uniform float uSaturation;
vec3 aces(vec3 x) {
    return clamp((x * (2.51 * x + 0.03)) / (x * (2.43 * x + 0.59) + 0.14), 0.0, 1.0);
}
vec3 encode(vec3 c) {
    return mix(c * 12.92, 1.055 * pow(c, vec3(1.0 / 2.4)) - 0.055, step(0.0031308, c));
}
void main() {
    vec4 h = texture(uColor, vUV);
    float coverage = clamp(h.a, 0.0, 1.0);
    vec3 c = coverage > 1e-5 ? h.rgb / h.a : vec3(0.0);
    c = aces(max(c, 0.0) * exp2(uExposure));
    c = (c - 0.5) * (1.0 + uContrast) + 0.5;
    float luma = dot(c, vec3(0.2126, 0.7152, 0.0722));
    c = clamp(mix(vec3(luma), c, uSaturation), 0.0, 1.0);
    vec3 backdrop = texture(uBackdrop, vec2(0.5, 1.0 - vUV.y)).rgb;
    fragColor = vec4(encode(c) * coverage + backdrop * (1.0 - coverage), 1.0);
}
)";

}  // namespace vistrel::viewport::Shaders

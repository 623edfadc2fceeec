#include "gl/RenderMath.h"

#include <cmath>

namespace vistrel::viewport::RenderMath {

Float4x4 perspective(float fovY, float aspect, float n, float f) {
    const float t = 1.0f / std::tan(fovY / 2);
    Float4x4 p;
    p.m = {};
    p(0, 0) = t / aspect;
    p(1, 1) = t;
    p(2, 2) = (f + n) / (n - f);
    p(2, 3) = 2 * f * n / (n - f);
    p(3, 2) = -1;
    return p;
}

Float4x4 orthographicBox(float l, float r, float b, float t, float n, float f) {
    Float4x4 p;
    p(0, 0) = 2 / (r - l);
    p(1, 1) = 2 / (t - b);
    p(2, 2) = -2 / (f - n);
    p(0, 3) = -(r + l) / (r - l);
    p(1, 3) = -(t + b) / (t - b);
    p(2, 3) = -(f + n) / (f - n);
    return p;
}

Float4x4 orthographic(float halfWidth, float halfHeight, float n, float f) {
    return orthographicBox(-halfWidth, halfWidth, -halfHeight, halfHeight, n, f);
}

Float4x4 lookAlong(Float3 eye, Float3 forward, Float3 upHint) {
    const Float3 z = normalize(-forward);
    Float3 x = cross(upHint, z);
    if (dot(x, x) < 1e-10f) x = cross(std::fabs(z.y) < 0.9f ? Float3{0, 1, 0} : Float3{1, 0, 0}, z);
    x = normalize(x);
    const Float3 y = cross(z, x);
    Float4x4 m;
    m.m = {x.x, x.y, x.z, 0, y.x, y.y, y.z, 0, z.x, z.y, z.z, 0, eye.x, eye.y, eye.z, 1};
    return m;
}

Float4x4 transpose(const Float4x4& a) {
    Float4x4 r;
    for (int i = 0; i < 4; ++i)
        for (int j = 0; j < 4; ++j) r(i, j) = a(j, i);
    return r;
}

Float4x4 inverse(const Float4x4& mat) {
    const auto& m = mat.m;
    float inv[16];
    inv[0] = m[5] * m[10] * m[15] - m[5] * m[11] * m[14] - m[9] * m[6] * m[15] +
             m[9] * m[7] * m[14] + m[13] * m[6] * m[11] - m[13] * m[7] * m[10];
    inv[4] = -m[4] * m[10] * m[15] + m[4] * m[11] * m[14] + m[8] * m[6] * m[15] -
             m[8] * m[7] * m[14] - m[12] * m[6] * m[11] + m[12] * m[7] * m[10];
    inv[8] = m[4] * m[9] * m[15] - m[4] * m[11] * m[13] - m[8] * m[5] * m[15] +
             m[8] * m[7] * m[13] + m[12] * m[5] * m[11] - m[12] * m[7] * m[9];
    inv[12] = -m[4] * m[9] * m[14] + m[4] * m[10] * m[13] + m[8] * m[5] * m[14] -
              m[8] * m[6] * m[13] - m[12] * m[5] * m[10] + m[12] * m[6] * m[9];
    inv[1] = -m[1] * m[10] * m[15] + m[1] * m[11] * m[14] + m[9] * m[2] * m[15] -
             m[9] * m[3] * m[14] - m[13] * m[2] * m[11] + m[13] * m[3] * m[10];
    inv[5] = m[0] * m[10] * m[15] - m[0] * m[11] * m[14] - m[8] * m[2] * m[15] +
             m[8] * m[3] * m[14] + m[12] * m[2] * m[11] - m[12] * m[3] * m[10];
    inv[9] = -m[0] * m[9] * m[15] + m[0] * m[11] * m[13] + m[8] * m[1] * m[15] -
             m[8] * m[3] * m[13] - m[12] * m[1] * m[11] + m[12] * m[3] * m[9];
    inv[13] = m[0] * m[9] * m[14] - m[0] * m[10] * m[13] - m[8] * m[1] * m[14] +
              m[8] * m[2] * m[13] + m[12] * m[1] * m[10] - m[12] * m[2] * m[9];
    inv[2] = m[1] * m[6] * m[15] - m[1] * m[7] * m[14] - m[5] * m[2] * m[15] + m[5] * m[3] * m[14] +
             m[13] * m[2] * m[7] - m[13] * m[3] * m[6];
    inv[6] = -m[0] * m[6] * m[15] + m[0] * m[7] * m[14] + m[4] * m[2] * m[15] -
             m[4] * m[3] * m[14] - m[12] * m[2] * m[7] + m[12] * m[3] * m[6];
    inv[10] = m[0] * m[5] * m[15] - m[0] * m[7] * m[13] - m[4] * m[1] * m[15] +
              m[4] * m[3] * m[13] + m[12] * m[1] * m[7] - m[12] * m[3] * m[5];
    inv[14] = -m[0] * m[5] * m[14] + m[0] * m[6] * m[13] + m[4] * m[1] * m[14] -
              m[4] * m[2] * m[13] - m[12] * m[1] * m[6] + m[12] * m[2] * m[5];
    inv[3] = -m[1] * m[6] * m[11] + m[1] * m[7] * m[10] + m[5] * m[2] * m[11] -
             m[5] * m[3] * m[10] - m[9] * m[2] * m[7] + m[9] * m[3] * m[6];
    inv[7] = m[0] * m[6] * m[11] - m[0] * m[7] * m[10] - m[4] * m[2] * m[11] + m[4] * m[3] * m[10] +
             m[8] * m[2] * m[7] - m[8] * m[3] * m[6];
    inv[11] = -m[0] * m[5] * m[11] + m[0] * m[7] * m[9] + m[4] * m[1] * m[11] - m[4] * m[3] * m[9] -
              m[8] * m[1] * m[7] + m[8] * m[3] * m[5];
    inv[15] = m[0] * m[5] * m[10] - m[0] * m[6] * m[9] - m[4] * m[1] * m[10] + m[4] * m[2] * m[9] +
              m[8] * m[1] * m[6] - m[8] * m[2] * m[5];
    float det = m[0] * inv[0] + m[1] * inv[4] + m[2] * inv[8] + m[3] * inv[12];
    Float4x4 r;
    if (det == 0) return r;
    det = 1.0f / det;
    for (int i = 0; i < 16; ++i) r.m[size_t(i)] = inv[i] * det;
    return r;
}

Float4x4 rotation(Float4 q) {
    const float x = q.x, y = q.y, z = q.z, w = q.w;
    Float4x4 r;
    r(0, 0) = 1 - 2 * (y * y + z * z);
    r(0, 1) = 2 * (x * y - z * w);
    r(0, 2) = 2 * (x * z + y * w);
    r(1, 0) = 2 * (x * y + z * w);
    r(1, 1) = 1 - 2 * (x * x + z * z);
    r(1, 2) = 2 * (y * z - x * w);
    r(2, 0) = 2 * (x * z - y * w);
    r(2, 1) = 2 * (y * z + x * w);
    r(2, 2) = 1 - 2 * (x * x + y * y);
    return r;
}

Float4 transform(const Float4x4& m, Float4 v) {
    return {m(0, 0) * v.x + m(0, 1) * v.y + m(0, 2) * v.z + m(0, 3) * v.w,
            m(1, 0) * v.x + m(1, 1) * v.y + m(1, 2) * v.z + m(1, 3) * v.w,
            m(2, 0) * v.x + m(2, 1) * v.y + m(2, 2) * v.z + m(2, 3) * v.w,
            m(3, 0) * v.x + m(3, 1) * v.y + m(3, 2) * v.z + m(3, 3) * v.w};
}

}  // namespace vistrel::viewport::RenderMath

// Small value types for positions, colours and transforms shared by every layer of the program.
// Plain aggregates: no invariants, trivially copyable, safe to memcpy into GPU buffers.
#pragma once

#include <array>
#include <cmath>

namespace vistrel {

struct Float2 {
    float x = 0, y = 0;
    friend bool operator==(const Float2&, const Float2&) = default;
};

struct Float3 {
    float x = 0, y = 0, z = 0;
    friend bool operator==(const Float3&, const Float3&) = default;
    float operator[](int i) const { return i == 0 ? x : (i == 1 ? y : z); }
};

struct Float4 {
    float x = 0, y = 0, z = 0, w = 0;
    friend bool operator==(const Float4&, const Float4&) = default;
};

inline Float3 operator+(Float3 a, Float3 b) {
    return {a.x + b.x, a.y + b.y, a.z + b.z};
}
inline Float3 operator-(Float3 a, Float3 b) {
    return {a.x - b.x, a.y - b.y, a.z - b.z};
}
inline Float3 operator-(Float3 a) {
    return {-a.x, -a.y, -a.z};
}
inline Float3 operator*(Float3 a, float s) {
    return {a.x * s, a.y * s, a.z * s};
}
inline Float3 operator*(float s, Float3 a) {
    return a * s;
}
inline Float3 operator/(Float3 a, float s) {
    return {a.x / s, a.y / s, a.z / s};
}
inline Float3& operator+=(Float3& a, Float3 b) {
    return a = a + b;
}
inline Float3& operator-=(Float3& a, Float3 b) {
    return a = a - b;
}
inline Float3& operator*=(Float3& a, float s) {
    return a = a * s;
}
inline float dot(Float3 a, Float3 b) {
    return a.x * b.x + a.y * b.y + a.z * b.z;
}
inline Float3 cross(Float3 a, Float3 b) {
    return {a.y * b.z - a.z * b.y, a.z * b.x - a.x * b.z, a.x * b.y - a.y * b.x};
}
inline float length(Float3 a) {
    return std::sqrt(dot(a, a));
}
inline Float3 normalize(Float3 a) {
    float l = length(a);
    return l > 0 ? a / l : a;
}
// Lane-wise minimum and maximum where a NaN loses against a number, as fmin/fmax have it, but
// inline: these sit in per-vertex loops, where a libm call per lane costs more than the loop.
inline float minLane(float a, float b) {
    return (b < a || a != a) ? b : a;
}
inline float maxLane(float a, float b) {
    return (b > a || a != a) ? b : a;
}
inline Float3 min(Float3 a, Float3 b) {
    return {minLane(a.x, b.x), minLane(a.y, b.y), minLane(a.z, b.z)};
}
inline Float3 max(Float3 a, Float3 b) {
    return {maxLane(a.x, b.x), maxLane(a.y, b.y), maxLane(a.z, b.z)};
}

// 4x4 matrix, column-major: m[c * 4 + r]; columns are the basis vectors and the translation.
struct Float4x4 {
    std::array<float, 16> m{1, 0, 0, 0, 0, 1, 0, 0, 0, 0, 1, 0, 0, 0, 0, 1};

    static Float4x4 identity() { return {}; }
    static Float4x4 translation(Float3 t) {
        Float4x4 r;
        r.m[12] = t.x;
        r.m[13] = t.y;
        r.m[14] = t.z;
        return r;
    }
    float& operator()(int row, int col) { return m[col * 4 + row]; }
    float operator()(int row, int col) const { return m[col * 4 + row]; }
    Float3 column3(int c) const { return {m[c * 4], m[c * 4 + 1], m[c * 4 + 2]}; }

    Float3 transformPoint(Float3 p) const {
        return {m[0] * p.x + m[4] * p.y + m[8] * p.z + m[12],
                m[1] * p.x + m[5] * p.y + m[9] * p.z + m[13],
                m[2] * p.x + m[6] * p.y + m[10] * p.z + m[14]};
    }
    Float3 transformVector(Float3 v) const {
        return {m[0] * v.x + m[4] * v.y + m[8] * v.z, m[1] * v.x + m[5] * v.y + m[9] * v.z,
                m[2] * v.x + m[6] * v.y + m[10] * v.z};
    }
    friend Float4x4 operator*(const Float4x4& a, const Float4x4& b) {
        Float4x4 r;
        for (int c = 0; c < 4; ++c)
            for (int row = 0; row < 4; ++row) {
                float s = 0;
                for (int k = 0; k < 4; ++k) s += a.m[k * 4 + row] * b.m[c * 4 + k];
                r.m[c * 4 + row] = s;
            }
        return r;
    }
    // Determinant of the upper-left 3x3: negative for a mirroring transform.
    float determinant3() const {
        return m[0] * (m[5] * m[10] - m[9] * m[6]) - m[4] * (m[1] * m[10] - m[9] * m[2]) +
               m[8] * (m[1] * m[6] - m[5] * m[2]);
    }
    friend bool operator==(const Float4x4&, const Float4x4&) = default;
};

// 3x3 matrix held as three columns; enough for rotation frames.
struct Float3x3 {
    Float3 c0, c1, c2;
    Float3 operator*(Float3 v) const { return c0 * v.x + c1 * v.y + c2 * v.z; }
    // Transpose times v: v expressed in the frame of the columns when they are orthonormal.
    Float3 transposeTimes(Float3 v) const { return {dot(c0, v), dot(c1, v), dot(c2, v)}; }
    friend bool operator==(const Float3x3&, const Float3x3&) = default;
};

// Unit quaternion (x, y, z, w) of a rotation matrix; the columns must be orthonormal.
inline Float4 quaternionFromRotation(const Float3x3& r) {
    const float m00 = r.c0.x, m10 = r.c0.y, m20 = r.c0.z;
    const float m01 = r.c1.x, m11 = r.c1.y, m21 = r.c1.z;
    const float m02 = r.c2.x, m12 = r.c2.y, m22 = r.c2.z;
    const float trace = m00 + m11 + m22;
    if (trace > 0) {
        float s = std::sqrt(trace + 1) * 2;
        return {(m21 - m12) / s, (m02 - m20) / s, (m10 - m01) / s, 0.25f * s};
    }
    if (m00 > m11 && m00 > m22) {
        float s = std::sqrt(1 + m00 - m11 - m22) * 2;
        return {0.25f * s, (m01 + m10) / s, (m02 + m20) / s, (m21 - m12) / s};
    }
    if (m11 > m22) {
        float s = std::sqrt(1 + m11 - m00 - m22) * 2;
        return {(m01 + m10) / s, 0.25f * s, (m12 + m21) / s, (m02 - m20) / s};
    }
    float s = std::sqrt(1 + m22 - m00 - m11) * 2;
    return {(m02 + m20) / s, (m12 + m21) / s, 0.25f * s, (m10 - m01) / s};
}

}  // namespace vistrel

// Matrix helpers of the renderer: projections, look-at frames, inverses. GL conventions:
// clip depth -1...1, eye looking down -Z.
#pragma once

#include "model/Math.h"

namespace vistrel::viewport::RenderMath {

Float4x4 perspective(float fovYRadians, float aspect, float near, float far);
// halfHeight: half the visible height in world units.
Float4x4 orthographic(float halfWidth, float halfHeight, float near, float far);
Float4x4 orthographicBox(float left, float right, float bottom, float top, float near, float far);
// A camera-to-world frame at `eye` whose -Z points along `forward`.
Float4x4 lookAlong(Float3 eye, Float3 forward, Float3 upHint);
Float4x4 inverse(const Float4x4& m);
Float4x4 transpose(const Float4x4& m);
// Rotation of a unit quaternion (x, y, z, w).
Float4x4 rotation(Float4 q);
Float4 transform(const Float4x4& m, Float4 v);

}  // namespace vistrel::viewport::RenderMath

// The node that carries the camera: where it is, how it is turned, and its camera if it has one.
// CameraRig writes the pose here; the renderer reads it.
#pragma once

#include <optional>

#include "camera/CameraSettings.h"
#include "model/Math.h"

namespace vistrel::viewport {

struct CameraNode {
    Float3 position;
    Float4 orientation{0, 0, 0, 1};  // unit quaternion (x, y, z, w); the camera looks down -Z
    std::optional<CameraSettings> camera;
};

}  // namespace vistrel::viewport

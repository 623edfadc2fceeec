// The camera a frame is drawn from: where it stands in the renderer's world and its settings
// (projection, exposure, grading, ambient occlusion). A view fills it from its CameraNode.
#pragma once

#include "camera/CameraNode.h"
#include "camera/CameraSettings.h"
#include "model/Math.h"

namespace vistrel::viewport {

struct RenderCamera {
    Float4x4 cameraToWorld;  // the camera looks down its own -Z
    CameraSettings settings;

    // `parentToWorld` is the world transform of the node the camera hangs under (modelRoot:
    // the pose is in model space). A node without camera gets configured default settings.
    static RenderCamera from(const CameraNode& node, const Float4x4& parentToWorld);
};

}  // namespace vistrel::viewport

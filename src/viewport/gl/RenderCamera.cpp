#include "gl/RenderCamera.h"

#include "gl/RenderMath.h"
#include "vocabulary/Rendering.h"

namespace vistrel::viewport {

RenderCamera RenderCamera::from(const CameraNode& node, const Float4x4& parentToWorld) {
    RenderCamera c;
    c.cameraToWorld = parentToWorld * Float4x4::translation(node.position) *
                      RenderMath::rotation(node.orientation);
    if (node.camera) {
        c.settings = *node.camera;
    } else {
        Rendering::configure(c.settings);
    }
    return c;
}

}  // namespace vistrel::viewport

// Everything one frame is drawn from. The renderer reads it during the call and keeps no
// pointer into it.
#pragma once

#include "gl/RenderCamera.h"
#include "image/Image.h"
#include "scene/Light.h"
#include "scene/SceneNode.h"

namespace vistrel::viewport {

struct RenderFrame {
    const SceneNode* root = nullptr;  // the whole graph; hidden subtrees are skipped
    RenderCamera camera;
    const Light* cameraLight = nullptr;  // rides with the camera (the ambient fill)
    const Image* backdrop = nullptr;     // stretched behind everything; absent: black
    const Image* environment = nullptr;  // equirectangular sky for image-based light
    float environmentIntensity = 1;
    float devicePixelRatio = 1;  // line width
};

}  // namespace vistrel::viewport

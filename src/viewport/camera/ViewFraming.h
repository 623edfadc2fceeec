// The view a file first opens on, and the framing rules that fit bounds into a viewport. Pure
// functions shared by the viewport and the headless exports, so that both show the same thing.
//
// Angles of view are vertical, in degrees. Sizes are the viewport's (or the page's) width and
// height in points; sides below 1 count as 1.
#pragma once

#include <optional>
#include <vector>

#include "camera/CameraRig.h"
#include "model/Math.h"
#include "model/SKPModel.h"
#include "vocabulary/StandardView.h"

namespace vistrel::viewport::ViewFraming {

// A pose with the parallel scale (half the visible height, metres) that goes with it.
struct FramedPose {
    CameraRig::Pose pose;
    float orthographicScale = 1;
};

// Fits the box seen along the pose's direction: the pose keeps yaw and pitch; its position and
// distance change so that the box's bounding sphere fills the narrower angle of view with 5 %
// to spare. The scale is what a parallel camera needs to show the same.
FramedPose frame(const CameraRig::Pose& pose, Float3 boundsMin, Float3 boundsMax,
                 Float2 viewportSize, float vfovDegrees);
// The same for zooming to a chosen box: a radius of at least 0.25 and 15 % to spare.
FramedPose frameBounds(const CameraRig::Pose& pose, Float3 boundsMin, Float3 boundsMax,
                       Float2 viewportSize, float vfovDegrees);
// Turns to a standard view, then frames.
FramedPose look(StandardView view, Float3 boundsMin, Float3 boundsMax, Float2 viewportSize,
                float vfovDegrees);

// How the viewer sets its camera from one of the model's cameras.
struct CameraView {
    CameraRig::Pose pose;
    bool isPerspective = true;
    float fovDegrees = 35;                   // clamped to 10...120
    std::optional<float> orthographicScale;  // parallel cameras only: half of orthoHeight
};
CameraView apply(const Camera& camera);

// Everything the viewer shows before anyone moves the camera.
struct InitialView {
    CameraRig::Pose pose;
    bool isPerspective = true;
    float fovDegrees = 35;
    float orthographicScale = 1;
};
// The model's camera if it has one; otherwise the top view for a flat drawing and the iso view
// for anything else, framed on the visible bounds. A flat CAD drawing is always seen in parallel
// projection; otherwise `isPerspective` is the viewer's current choice.
InitialView initialView(const SKPModel& model, Float3 visibleMin, Float3 visibleMax,
                        Float2 viewportSize, float vfovDegrees = 35, bool isPerspective = true);

// Bounds of the geometry that is drawn when `visibleLayers` (by layer index; an index beyond
// the list counts as visible) holds; the model's bounds when nothing visible has any extent.
struct Bounds {
    Float3 min, max;
};
Bounds visibleBounds(const SKPModel& model, const std::vector<bool>& visibleLayers);

}  // namespace vistrel::viewport::ViewFraming

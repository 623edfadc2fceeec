// What the renderer needs to know of a camera besides its node's pose: projection and the
// post-processing values. Rendering::configure fills the fixed ones.
#pragma once

namespace vistrel::viewport {

struct CameraSettings {
    bool usesOrthographicProjection = false;
    double orthographicScale = 1;  // half the visible height in parallel projection, metres
    double fieldOfView = 60;       // vertical, degrees

    bool wantsHDR = false;
    bool wantsExposureAdaptation = true;
    double exposureOffset = 0;
    double contrast = 0;
    double saturation = 1;
    bool automaticallyAdjustsZRange = false;
    double screenSpaceAmbientOcclusionRadius = 5;
    double screenSpaceAmbientOcclusionBias = 0.03;
    double screenSpaceAmbientOcclusionDepthThreshold = 0.2;
    double screenSpaceAmbientOcclusionIntensity = 0;
    double bloomIntensity = 0;
    double motionBlurIntensity = 0;
    double colorFringeIntensity = 0;

    friend bool operator==(const CameraSettings&, const CameraSettings&) = default;
};

}  // namespace vistrel::viewport

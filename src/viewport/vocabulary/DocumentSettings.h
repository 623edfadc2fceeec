// The look and camera settings of a document: a default-made value is what a freshly opened
// document starts with. The window overlays the user's preferences on the fields that have one;
// the inspection tool and the headless modes take it as it is, so that all of them draw a new
// document alike.
#pragma once

#include "model/Math.h"
#include "vocabulary/BackdropStyle.h"
#include "vocabulary/LightingMode.h"
#include "vocabulary/Rendering.h"
#include "vocabulary/ShadingStyle.h"

namespace vistrel::viewport {

struct DocumentSettings {
    // Also the defaults of the preferences of the same names.
    bool showsEdges = true;
    bool showsGrid = false;
    bool isPerspective = true;
    bool shadowsEnabled = true;
    bool ambientOcclusionEnabled = false;
    float ambientOcclusionIntensity = float(Rendering::defaultAmbientOcclusionIntensity);
    BackdropStyle backdropStyle = BackdropStyle::architecturalSky;
    Float3 customBackdropColor = Rendering::defaultCustomBackdropColor;

    ShadingStyle shadingStyle = ShadingStyle::textured;
    LightingMode lightingMode = LightingMode::sun;
    bool showsPointLightGizmo = true;
    float sunAzimuthDegrees = -135;
    float sunElevationDegrees = 45;
    float sunIntensity = Rendering::defaultSunIntensity;
    float ambientIntensity = Rendering::defaultAmbientIntensity;

    float fovDegrees = 35;  // vertical
    float exposureOffset = -0.62f;
    float orthographicScale = 1;
    float movementSpeedScale = 1;

    friend bool operator==(const DocumentSettings&, const DocumentSettings&) = default;
};

}  // namespace vistrel::viewport

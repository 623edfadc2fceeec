// Draws what the viewport shows as a one-page vector PDF, with no GPU and no window: it walks the
// model itself, projects, shades and depth-sorts every visible triangle and edge, and paints them
// back to front. Stateless; runs on the caller's thread.
#pragma once

#include <cstdint>
#include <filesystem>
#include <optional>
#include <string>
#include <vector>

#include "camera/CameraRig.h"
#include "model/Math.h"
#include "model/SKPModel.h"
#include "vocabulary/BackdropStyle.h"
#include "vocabulary/DocumentSettings.h"
#include "vocabulary/LightingMode.h"
#include "vocabulary/Rendering.h"
#include "vocabulary/ShadingStyle.h"
#include "vocabulary/ViewportPointLight.h"

namespace vistrel::viewport::VectorPDFExporter {

// The viewer's look at the moment of export. Defaults are those of a freshly opened file.
struct Options {
    Float2 pageSize{1440, 900};  // points
    CameraRig::Pose pose;
    bool isPerspective = DocumentSettings{}.isPerspective;
    float fovDegrees = DocumentSettings{}.fovDegrees;                // vertical
    float orthographicScale = DocumentSettings{}.orthographicScale;  // half the height, metres
    float exposureOffset = DocumentSettings{}.exposureOffset;
    ShadingStyle shadingStyle = DocumentSettings{}.shadingStyle;
    bool showsEdges = DocumentSettings{}.showsEdges;
    bool showsGrid = DocumentSettings{}.showsGrid;
    BackdropStyle backdropStyle = DocumentSettings{}.backdropStyle;
    Float3 customBackdropColor = DocumentSettings{}.customBackdropColor;
    LightingMode lightingMode = DocumentSettings{}.lightingMode;
    float sunAzimuthDegrees = DocumentSettings{}.sunAzimuthDegrees;
    float sunElevationDegrees = DocumentSettings{}.sunElevationDegrees;
    float sunIntensity = DocumentSettings{}.sunIntensity;
    std::vector<ViewportPointLight> pointLights;
    float ambientIntensity = DocumentSettings{}.ambientIntensity;
    std::vector<bool> visibleLayers;  // by layer index; an index beyond the list is visible
};

// The look of `settings`, on the default page and pose.
Options optionsFor(const DocumentSettings& settings);

// The PDF bytes, or nothing when the PDF surface could not be made. Page sides below 64 points
// are raised to 64.
std::optional<std::vector<std::uint8_t>> renderPDF(const SKPModel& model, const Options& options);

// Writes `data` to `path` through a temporary file beside it, so that a failure (missing folder,
// full disk) leaves nothing at `path`. Returns an English message on failure.
std::optional<std::string> writeFile(const std::vector<std::uint8_t>& data,
                                     const std::filesystem::path& path);

// The page of an export from a view: the requested size, else the view's own when both sides
// exceed 10 points, else 1440 x 900; never below 320 x 240.
Float2 pageSizeForView(std::optional<Float2> requested, Float2 viewSize);

// The options of the view a file first opens on (model camera, else top for a flat drawing,
// else iso; framed on the visible layers for a viewport of `pageSize`) with the look of
// `settings`.
Options initialViewOptions(const SKPModel& model, Float2 pageSize = {1440, 900},
                           const DocumentSettings& settings = {});

// The headless conversion: renders the initial view of a freshly opened document on a page
// sized as an export from a view would be (1440 x 900 unless given) and writes it to `path`.
// Returns an English message on failure; nothing is left at `path` then.
std::optional<std::string> exportInitialView(const SKPModel& model,
                                             const std::filesystem::path& path,
                                             std::optional<Float2> pageSize = std::nullopt);

}  // namespace vistrel::viewport::VectorPDFExporter

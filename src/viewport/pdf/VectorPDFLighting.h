// How the vector PDF export colours a triangle: the colour of each material (textures reduced to
// their average), and one lighting formula evaluated once per triangle.
#pragma once

#include <filesystem>
#include <optional>
#include <vector>

#include "model/SKPModel.h"
#include "pdf/VectorPDFExporter.h"

namespace vistrel::viewport::VectorPDFExporter {

struct ResolvedMaterial {
    Float3 color;
    float opacity = 1;  // 0.05...1
};

// Average of an image drawn at 8 by 8 pixels (premultiplied, 8 bits), over the pixels whose
// alpha is above 0.05; nothing for an unreadable file or a fully transparent one.
std::optional<Float3> averageTextureColor(const std::filesystem::path& path);

// One entry per material of the model, by index.
std::vector<ResolvedMaterial> resolveMaterialColors(const SKPModel& model);

struct LightingRig {
    bool isSun = true;
    Float3 sunDirection, skyDirection;  // towards the lights
    float sunPower = 1, ambientPower = 1;
    std::vector<ViewportPointLight> pointLights;
    float reach = 1;  // metres over which point lights fade
    float exposure = 1;

    static LightingRig make(const Options& options, const SKPModel& model);
    // The lit colour of a surface at `point` with `normal` (any sign), seen from `eye`.
    Float3 shade(Float3 point, Float3 normal, Float3 eye, Float3 baseColor) const;
};

}  // namespace vistrel::viewport::VectorPDFExporter

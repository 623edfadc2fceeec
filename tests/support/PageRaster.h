// Turns a PDF page back into pixels with poppler's pdftoppm, and compares pictures with the
// baselines in tests/baselines/ (per channel within 5/255 for all but 0.1 % of pixels).
#pragma once

#include "TestEnv.h"

#include <stb_image.h>
#include <stb_image_write.h>

#include <cstdint>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <optional>
#include <string>
#include <vector>

namespace vistrel::test {

struct Raster {
    int width = 0, height = 0;
    std::vector<std::uint8_t> rgb;  // rows top first, 3 bytes a pixel
    struct RGB {
        int r, g, b;
    };
    RGB at(int x, int y) const {
        const std::uint8_t* p = rgb.data() + (size_t(y) * size_t(width) + size_t(x)) * 3;
        return {p[0], p[1], p[2]};
    }
};

inline std::optional<Raster> readPNG(const std::filesystem::path& path) {
    int w = 0, h = 0, n = 0;
    unsigned char* data = stbi_load(path.c_str(), &w, &h, &n, 3);
    if (!data) return std::nullopt;
    Raster r{w, h, std::vector<std::uint8_t>(data, data + size_t(w) * size_t(h) * 3)};
    stbi_image_free(data);
    return r;
}

inline bool writePNG(const std::filesystem::path& path, const Raster& r) {
    return stbi_write_png(path.c_str(), r.width, r.height, 3, r.rgb.data(), r.width * 3) != 0;
}

// One pixel per point (72 dpi), anti-aliased as a viewer would show it.
inline std::optional<Raster> rasterisePDF(const std::vector<std::uint8_t>& pdf,
                                          const std::filesystem::path& folder,
                                          const std::string& name) {
    const auto pdfPath = folder / (name + ".pdf");
    {
        std::ofstream out(pdfPath, std::ios::binary);
        out.write(reinterpret_cast<const char*>(pdf.data()), std::streamsize(pdf.size()));
    }
    const auto stem = folder / name;
    const std::string command = "pdftoppm -r 72 -png -singlefile '" + pdfPath.string() + "' '" +
                                stem.string() + "' 2>/dev/null";
    if (std::system(command.c_str()) != 0) return std::nullopt;
    return readPNG(stem.string() + ".png");
}

// Empty when `actual` matches the baseline `name`.png; otherwise what went wrong. A missing
// baseline is written as a candidate (name.candidate.png); a mismatch writes name.actual.png
// and name.diff.png beside the baselines.
inline std::string compareWithBaseline(const Raster& actual, const std::string& name) {
    const auto dir = baselinesDir();
    const auto baselinePath = dir / (name + ".png");
    const auto baseline = readPNG(baselinePath);
    if (!baseline) {
        writePNG(dir / (name + ".candidate.png"), actual);
        return "no baseline " + baselinePath.string() + "; candidate written beside it";
    }
    if (baseline->width != actual.width || baseline->height != actual.height) {
        writePNG(dir / (name + ".actual.png"), actual);
        return "size differs from the baseline";
    }
    Raster diff{actual.width, actual.height, std::vector<std::uint8_t>(actual.rgb.size(), 0)};
    size_t bad = 0;
    const size_t pixels = size_t(actual.width) * size_t(actual.height);
    for (size_t i = 0; i < pixels; ++i) {
        int worst = 0;
        for (int c = 0; c < 3; ++c)
            worst = std::max(worst,
                             std::abs(int(actual.rgb[i * 3 + c]) - int(baseline->rgb[i * 3 + c])));
        if (worst > 5) {
            ++bad;
            diff.rgb[i * 3] = 255;
        } else {
            diff.rgb[i * 3 + 1] = std::uint8_t(std::min(worst * 40, 255));
        }
    }
    if (double(bad) <= double(pixels) * 0.001) return {};
    writePNG(dir / (name + ".actual.png"), actual);
    writePNG(dir / (name + ".diff.png"), diff);
    return std::to_string(bad) + " of " + std::to_string(pixels) +
           " pixels differ by more than 5/255; actual and diff written beside the baseline";
}

}  // namespace vistrel::test

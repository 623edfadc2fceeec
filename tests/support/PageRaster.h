// Turns a PDF page back into pixels with poppler's pdftoppm, and compares pictures with the
// baselines in tests/baselines/ through ImageCompare.h.
#pragma once

#include <cstdint>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <optional>
#include <string>
#include <vector>

#include "ImageCompare.h"

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
    const auto image = viewport::PNGFile::read(stem.string() + ".png");
    if (!image) return std::nullopt;
    Raster raster{image->width, image->height, {}};
    for (size_t i = 0; i < image->pixels.size(); i += 4)
        raster.rgb.insert(raster.rgb.end(), image->pixels.begin() + std::ptrdiff_t(i),
                          image->pixels.begin() + std::ptrdiff_t(i + 3));
    return raster;
}

// Empty when `actual` matches the baseline `name`.png; otherwise what went wrong.
inline std::string compareWithBaseline(const Raster& actual, const std::string& name) {
    viewport::Image image{actual.width, actual.height, false, {}};
    for (size_t i = 0; i < actual.rgb.size(); i += 3)
        image.pixels.insert(image.pixels.end(), {actual.rgb[i], actual.rgb[i + 1],
                                                 actual.rgb[i + 2], std::uint8_t(255)});
    const ::testing::AssertionResult result = matchesBaseline(image, name);
    return result ? "" : result.message();
}

}  // namespace vistrel::test

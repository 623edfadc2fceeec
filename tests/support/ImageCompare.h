// Pictures tested as pictures: compare a rendering with its baseline PNG under
// $VISTREL_BASELINES_DIR. Tolerance: every channel within 5/255 for all but 0.1 % of pixels.
// A missing baseline is written as the candidate and the comparison fails; a mismatch writes
// NAME.actual.png and NAME.diff.png next to the baseline.
#pragma once

#include <gtest/gtest.h>

#include <algorithm>
#include <cstdlib>
#include <filesystem>
#include <string>

#include "TestEnv.h"
#include "image/Image.h"
#include "image/PNGFile.h"

namespace vistrel::test {

inline ::testing::AssertionResult matchesBaseline(const viewport::Image& actual,
                                                  const std::string& name, int tolerance = 5,
                                                  double allowedFraction = 0.001) {
    namespace fs = std::filesystem;
    const fs::path path = baselinesDir() / (name + ".png");
    std::string error;
    auto baseline = viewport::PNGFile::read(path);
    if (!baseline) {
        fs::create_directories(path.parent_path());
        viewport::PNGFile::write(actual, path, error);
        return ::testing::AssertionFailure()
               << "no baseline " << path << "; wrote the candidate there, check and commit it";
    }
    const fs::path actualPath = fs::path(path).replace_extension(".actual.png");
    const fs::path diffPath = fs::path(path).replace_extension(".diff.png");
    if (baseline->width != actual.width || baseline->height != actual.height) {
        viewport::PNGFile::write(actual, actualPath, error);
        return ::testing::AssertionFailure()
               << name << ": size " << actual.width << "x" << actual.height << ", baseline "
               << baseline->width << "x" << baseline->height;
    }
    viewport::Image diff = actual;
    size_t bad = 0;
    int worst = 0;
    for (size_t i = 0; i < actual.pixels.size(); i += 4) {
        int d = 0;
        for (size_t c = 0; c < 3; ++c)
            d = std::max(d, std::abs(int(actual.pixels[i + c]) - int(baseline->pixels[i + c])));
        worst = std::max(worst, d);
        if (d > tolerance) ++bad;
        std::fill_n(&diff.pixels[i], 3, std::uint8_t(std::min(255, d * 8)));
        diff.pixels[i + 3] = 255;
    }
    const size_t pixels = actual.pixels.size() / 4;
    if (double(bad) <= allowedFraction * double(pixels)) {
        fs::remove(actualPath);
        fs::remove(diffPath);
        return ::testing::AssertionSuccess();
    }
    viewport::PNGFile::write(actual, actualPath, error);
    viewport::PNGFile::write(diff, diffPath, error);
    return ::testing::AssertionFailure()
           << name << ": " << bad << " of " << pixels << " pixels differ by more than " << tolerance
           << " (worst " << worst << "); see " << actualPath;
}

}  // namespace vistrel::test

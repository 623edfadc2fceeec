// The command line of vistrel-inspect: the files to look at, and room for the output options
// (a PDF, a PNG of the first view) that other commands of the tool add.
#pragma once

#include <filesystem>
#include <optional>
#include <string>
#include <vector>

#include "vocabulary/ShadingStyle.h"

namespace vistrel::inspect {

struct InspectOptions {
    std::vector<std::filesystem::path> files;
    bool help = false;
    // Write the vector PDF of the first view of the (one) file here.
    std::optional<std::filesystem::path> pdf;
    // Render the first view of the (one) file headless into this PNG, at this size and style.
    std::optional<std::filesystem::path> png;
    int width = 1380;
    int height = 820;
    viewport::ShadingStyle style = viewport::ShadingStyle::textured;

    // Parses arguments without argument 0. Returns the options, or an English message for a
    // bad command line (an unknown option, no file).
    static InspectOptions parse(const std::vector<std::string>& arguments, std::string& error);
    static std::string usage();
};

}  // namespace vistrel::inspect

// The closed DWG importer plug-in of the SketchUp family: found, opened and driven at run time.
// Absent on Linux unless a compatible one is installed; then only the native DXF path exists.
#pragma once

#include <filesystem>
#include <optional>
#include <vector>

#include "SKPReader.h"

namespace vistrel::DWGImporterPlugin {

struct PluginLocation {
    std::filesystem::path binaryURL;
    std::filesystem::path frameworksDir;
};

std::optional<PluginLocation> locatePlugin();
// The places locatePlugin() looks at, for the sketchUpNotFound error.
std::vector<std::filesystem::path> searchedLocations();

// Converts to a temporary .skp, reads it back through SKPReader::loadSkpFile, calibrates units.
SKPModel loadViaPlugin(const std::filesystem::path& url, const SKPFileInfo& fileInfo,
                       const PluginLocation& location, const SKPReader::ProgressCallback& progress,
                       const SKPReader::CancelCheck& isCancelled);

}  // namespace vistrel::DWGImporterPlugin

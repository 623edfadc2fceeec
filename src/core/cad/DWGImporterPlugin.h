// The closed DWG importer plug-in of the SketchUp family: found, opened and driven at run time.
// Absent on Linux unless a compatible one is installed; then only the native DXF path exists.
//
// Places looked at, in order: the application's own copy
// (<prefix>/lib/vistrel/DWGImporter.plugin/DWGImporter, libraries in <prefix>/lib/vistrel), then,
// unless $VISTREL_BUNDLED_SDK_ONLY is set, the SketchUp applications of SketchUpAPI, newest first
// (Contents/PlugIns/DWGImporter.plugin/Contents/MacOS/DWGImporter, libraries in
// Contents/Frameworks).
#pragma once

#include <filesystem>
#include <mutex>
#include <optional>
#include <vector>

#include "cad/PluginConverter.h"
#include "sketchup/SKPReader.h"
#include "sketchup/SketchUpAPI.h"

namespace vistrel::DWGImporterPlugin {

struct PluginLocation {
    std::filesystem::path binaryURL;
    std::filesystem::path frameworksDir;
    friend bool operator==(const PluginLocation&, const PluginLocation&) = default;
};

std::vector<PluginLocation> pluginCandidates(
    const SketchUpAPI::SearchRoots& roots = SketchUpAPI::SearchRoots::system());
// The first candidate whose executable exists.
std::optional<PluginLocation> locatePlugin(
    const SketchUpAPI::SearchRoots& roots = SketchUpAPI::SearchRoots::system());
// The places locatePlugin() looks at, for the sketchUpNotFound error.
std::vector<std::filesystem::path> searchedLocations();

// Serialises every use of the plug-in; taken before SKPReader::lock(), never after.
std::mutex& pluginLock();
// The process-wide plug-in, opened under pluginLock() on first use. Throws what LoadedPlugin's
// constructor throws; a failure keeps nothing.
PluginConverter& getPlugin(const PluginLocation& location);

// Converts to a temporary .skp, reads it back through SKPReader::loadSkpFile, calibrates units.
// Throws unreadable(url) when no output appears, and whatever the read-back throws.
SKPModel loadViaPlugin(const std::filesystem::path& url, const SKPFileInfo& fileInfo,
                       const PluginLocation& location, const SKPReader::ProgressCallback& progress,
                       const SKPReader::CancelCheck& isCancelled);
// The same with any converter behind the seam.
SKPModel loadViaPlugin(const std::filesystem::path& url, const SKPFileInfo& fileInfo,
                       PluginConverter& converter, const SKPReader::ProgressCallback& progress,
                       const SKPReader::CancelCheck& isCancelled);

// Unit calibration. A first result whose largest side L lies in (0, 1) was scaled down by the
// importer and is converted again with importUnits 7; that second result is then scaled by the
// factor given here (0.001 above 3500, 0.1 above 350, none otherwise).
bool needsMetricRerun(float largestSide);
std::optional<float> rerunScale(float largestSide);

}  // namespace vistrel::DWGImporterPlugin

// Placeholder until the plug-in seam lands: no plug-in is ever found.
#include "DWGImporterPlugin.h"

#include "SKPError.h"

namespace vistrel::DWGImporterPlugin {

std::optional<PluginLocation> locatePlugin() {
    return std::nullopt;
}

std::vector<std::filesystem::path> searchedLocations() {
    return {};
}

SKPModel loadViaPlugin(const std::filesystem::path&, const SKPFileInfo&, const PluginLocation&,
                       const SKPReader::ProgressCallback&, const SKPReader::CancelCheck&) {
    throw SKPError::sketchUpNotFound({});
}

}  // namespace vistrel::DWGImporterPlugin

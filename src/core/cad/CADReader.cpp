#include "cad/CADReader.h"

#include <cstdlib>
#include <exception>

#include "cad/CADImporter.h"
#include "cad/CADNormalization.h"
#include "cad/DWGImporterPlugin.h"
#include "dxf/DXFNativeParser.h"
#include "model/SKPError.h"
#include "settings/Localization.h"

namespace vistrel::CADReader {

SKPModel load(const std::filesystem::path& url, const SKPFileInfo& fileInfo,
              const SKPReader::ProgressCallback& progress,
              const SKPReader::CancelCheck& isCancelled) {
    if (progress) progress({L("Conversion AutoCAD…", "Converting AutoCAD…"), 0, 0.12});
    std::optional<SKPError> pluginError;
    if (!std::getenv("VISTREL_FORCE_NATIVE_DXF")) {
        if (auto location = DWGImporterPlugin::locatePlugin()) {
            try {
                return normalizeCADModel(DWGImporterPlugin::loadViaPlugin(url, fileInfo, *location,
                                                                          progress, isCancelled));
            } catch (const SKPError& e) {
                if (e.kind() == SKPError::Kind::cancelled) throw;
                pluginError = e;
            }
        }
        // The plug-in's failure is final for a DWG; without a plug-in, the importer's answer is.
        if (fileInfo.isDWG()) {
            if (pluginError) throw *pluginError;
            return normalizeCADModel(CADImporter::parse(url, fileInfo, progress, isCancelled));
        }
        if (fileInfo.isDXF()) {
            try {
                return normalizeCADModel(CADImporter::parse(url, fileInfo, progress, isCancelled));
            } catch (const SKPError& e) {
                if (e.kind() == SKPError::Kind::cancelled) throw;
            } catch (const std::exception&) {
                // Refused (out of memory on a hostile file, say): the narrow parser takes over.
            }
        }
    }
    if (fileInfo.isDXF())
        return normalizeCADModel(DXFNativeParser::parse(url, fileInfo, progress, isCancelled));
    if (pluginError) throw *pluginError;
    throw SKPError::sketchUpNotFound(DWGImporterPlugin::searchedLocations());
}

}  // namespace vistrel::CADReader

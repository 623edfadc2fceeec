// DWG and DXF. A DXF goes through the program's CADImporter first; when it refuses the file,
// through the importer plug-in if one is installed, and last through the narrow DXFNativeParser. A
// DWG needs the plug-in. Every CAD model is normalised (units, far-off origins) before return.
#pragma once

#include <filesystem>

#include "sketchup/SKPReader.h"

namespace vistrel::CADReader {

// Throws SKPError: sketchUpNotFound for a DWG with no plug-in, the parser's errors for DXF.
// VISTREL_FORCE_NATIVE_DXF keeps the importer and the plug-in out of it.
SKPModel load(const std::filesystem::path& url, const SKPFileInfo& fileInfo,
              const SKPReader::ProgressCallback& progress,
              const SKPReader::CancelCheck& isCancelled);

}  // namespace vistrel::CADReader

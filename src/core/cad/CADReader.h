// DWG and DXF: through the importer plug-in when one is installed, DXF through the program's
// own parser otherwise; every CAD model is normalised (units, far-off origins) before return.
#pragma once

#include <filesystem>

#include "sketchup/SKPReader.h"

namespace vistrel::CADReader {

// Throws SKPError: sketchUpNotFound for a DWG with no plug-in, the parser's errors for DXF.
// VISTREL_FORCE_NATIVE_DXF keeps the plug-in out of it.
SKPModel load(const std::filesystem::path& url, const SKPFileInfo& fileInfo,
              const SKPReader::ProgressCallback& progress,
              const SKPReader::CancelCheck& isCancelled);

}  // namespace vistrel::CADReader

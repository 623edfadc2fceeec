// DWG and DXF. The importer plug-in, where one is installed, goes first (its failure is final
// for a DWG); then a DWG goes through the program's CADImporter, and a DXF too, the narrow
// DXFNativeParser taking over when the importer refuses it. Every CAD model is normalised (units,
// far-off origins) before return.
#pragma once

#include <filesystem>

#include "sketchup/SKPReader.h"

namespace vistrel::CADReader {

// Throws SKPError: the importer's errors for a DWG (unreadable with a reason for a release not
// read), the parser's for DXF. VISTREL_FORCE_NATIVE_DXF keeps the importer and the plug-in out
// of it (a DWG then fails with sketchUpNotFound).
SKPModel load(const std::filesystem::path& url, const SKPFileInfo& fileInfo,
              const SKPReader::ProgressCallback& progress,
              const SKPReader::CancelCheck& isCancelled);

}  // namespace vistrel::CADReader

// The program's own DXF reader (ASCII and binary), used when no importer plug-in is present.
#pragma once

#include <filesystem>

#include "SKPReader.h"

namespace vistrel::DXFNativeParser {

// Throws SKPError: unreadable for a file that cannot be mapped, cancelled when isCancelled says so.
SKPModel parse(const std::filesystem::path& url, const SKPFileInfo& fileInfo,
               const SKPReader::ProgressCallback& progress,
               const SKPReader::CancelCheck& isCancelled);

}  // namespace vistrel::DXFNativeParser

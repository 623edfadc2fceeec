// The program's CAD importer: a front end reads the file into neutral records (DWGFrontEnd for
// a DWG, DXFFrontEnd for the rest), CADConverter turns them into the model. Preferred for DXF
// over the narrow DXFNativeParser, which takes over when the importer refuses a file
// (CADReader). Same errors, progress and cancellation as DXFNativeParser; more entity kinds
// come through the records.
#pragma once

#include <cstdint>
#include <filesystem>
#include <span>

#include "sketchup/SKPReader.h"

namespace vistrel::CADImporter {

// Throws SKPError: unreadable when the file cannot be read or shrinks while it is read, or
// (with its reason) for a DWG of a release not read or broken; cancelled when isCancelled
// answers true.
SKPModel parse(const std::filesystem::path& url, const SKPFileInfo& fileInfo,
               const SKPReader::ProgressCallback& progress,
               const SKPReader::CancelCheck& isCancelled);

// The same on bytes already in memory, which must stay alive for the call.
SKPModel parseBytes(std::span<const uint8_t> bytes, const SKPFileInfo& fileInfo,
                    const SKPReader::ProgressCallback& progress = {},
                    const SKPReader::CancelCheck& isCancelled = {});

}  // namespace vistrel::CADImporter

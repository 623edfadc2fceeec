// The one door through which any file becomes an SKPModel.
//
// load() reads the header (SKPFileInfo) and routes: CAD files (.dwg, .dxf, or a DWG/DXF header)
// go to CADReader, everything else is offered to the SketchUp library. Both throw SKPError.
// Progress may be reported on the loading thread; isCancelled is polled at the readers' own
// rhythm and ends the load with SKPError::cancelled.
#pragma once

#include <cstdint>
#include <filesystem>
#include <functional>
#include <mutex>
#include <optional>
#include <string>

#include "SKPModel.h"

namespace vistrel::SKPReader {

struct Progress {
    std::string phase;  // already in the user's language
    int64_t faces = 0;
    std::optional<double> fraction;
};

using ProgressCallback = std::function<void(const Progress&)>;
using CancelCheck = std::function<bool()>;

SKPModel load(const std::filesystem::path& url, const ProgressCallback& progress = {},
              const CancelCheck& isCancelled = {});

// A file known to be for the SketchUp library; also reads back the importer plug-in's output.
SKPModel loadSkpFile(const std::filesystem::path& url, const SKPFileInfo& fileInfo,
                     const ProgressCallback& progress, const CancelCheck& isCancelled);

// Held for the whole of a loadSkpFile: the library serves one load at a time. Taken inside the
// plug-in lock, never the other way round.
std::mutex& lock();

// Whether load() hands this file to CADReader.
bool routesToCAD(const SKPFileInfo& info);

}  // namespace vistrel::SKPReader

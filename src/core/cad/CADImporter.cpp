#include "cad/CADImporter.h"

#include <chrono>

#include "cad/CADConverter.h"
#include "cad/DXFFrontEnd.h"
#include "cad/dwg/DWGFrontEnd.h"
#include "dxf/MappedFile.h"
#include "model/SKPError.h"

namespace vistrel::CADImporter {

namespace {

SKPModel parseImpl(std::span<const uint8_t> bytes, const SKPFileInfo& fileInfo,
                   const SKPReader::ProgressCallback& progress,
                   const SKPReader::CancelCheck& isCancelled, const MappedFile* file) {
    auto start = std::chrono::steady_clock::now();
    CADDrawing drawing = fileInfo.isDWG()
                             ? DWGFrontEnd(bytes, progress, isCancelled, fileInfo.url).read()
                             : DXFFrontEnd(bytes, progress, isCancelled, file).read();
    SKPModel model = CADConverter::convert(std::move(drawing), fileInfo);
    model.stats.loadSeconds =
        std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count();
    return model;
}

}  // namespace

SKPModel parse(const std::filesystem::path& url, const SKPFileInfo& fileInfo,
               const SKPReader::ProgressCallback& progress,
               const SKPReader::CancelCheck& isCancelled) {
    MappedFile file(url);
    SKPModel model = parseImpl(file.bytes(), fileInfo, progress, isCancelled, &file);
    // The file shrank or failed a read under the reader: part of what it saw was not the file.
    if (file.damaged()) throw SKPError::unreadable(url);
    return model;
}

SKPModel parseBytes(std::span<const uint8_t> bytes, const SKPFileInfo& fileInfo,
                    const SKPReader::ProgressCallback& progress,
                    const SKPReader::CancelCheck& isCancelled) {
    return parseImpl(bytes, fileInfo, progress, isCancelled, nullptr);
}

}  // namespace vistrel::CADImporter

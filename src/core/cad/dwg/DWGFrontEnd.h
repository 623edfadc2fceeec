// Reads a DWG file into neutral CAD records (CADDrawing), as DXFFrontEnd does for DXF: the
// release from the first six bytes, its container, then the objects (DWGObjectReader).
// R13 to R2018 (AC1012 to AC1032, AC1021 included) are read; older releases are refused by name.
#pragma once

#include <cstdint>
#include <filesystem>
#include <span>

#include "cad/CADDrawing.h"
#include "sketchup/SKPReader.h"

namespace vistrel {

class DWGFrontEnd {
  public:
    // `bytes` must outlive read(); `url` names the file in errors.
    DWGFrontEnd(std::span<const uint8_t> bytes, const SKPReader::ProgressCallback& progress,
                const SKPReader::CancelCheck& isCancelled, std::filesystem::path url = {});

    // Throws SKPError: unreadable with a reason naming the release when it is one not read
    // (AC1.40 to AC1009, unknown, or a later one whose container is not in) or when the bytes
    // break the format; cancelled when isCancelled answers true.
    CADDrawing read();

  private:
    std::span<const uint8_t> bytes_;
    const SKPReader::ProgressCallback& progress_;
    const SKPReader::CancelCheck& isCancelled_;
    std::filesystem::path url_;
};

}  // namespace vistrel

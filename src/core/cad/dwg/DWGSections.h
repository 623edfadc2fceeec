// What a DWG container yields, whatever its release: the byte streams the object reader walks.
// R2000 and older point into the file itself; R2004 and later own their decompressed sections.
// Every span keeps the layout of its section as the file stores it (sentinels, sizes and CRCs
// included), so one object reader serves every container.
#pragma once

#include <cstdint>
#include <optional>
#include <span>
#include <stdexcept>
#include <vector>

#include "cad/dwg/DWGVersion.h"

namespace vistrel {

// Bytes that break the format: thrown by containers and the object reader, with a developer's
// English text for the log; the front end turns it into the error people see.
struct DWGFormatError : std::runtime_error {
    using std::runtime_error::runtime_error;
};

struct DWGSections {
    DWGVersion version = DWGVersion::r2000;
    uint16_t codePage = 30;  // the file header's code page, for TV strings before R2007

    std::span<const uint8_t> header;   // header variables (AcDb:Header)
    std::span<const uint8_t> classes;  // AcDb:Classes
    std::span<const uint8_t> handles;  // the object map (AcDb:Handles)
    // The base the object map's offsets count from: the whole file before R2004, the
    // AcDb:AcDbObjects section from R2004 on.
    std::span<const uint8_t> objects;
    std::span<const uint8_t> preview;  // the preview section, when the file has one

    // Decompressed sections the spans above point into; moved with the struct (a vector's
    // buffer stays where it is when the vector moves).
    std::vector<std::vector<uint8_t>> storage;
};

}  // namespace vistrel

// The paged container of AC1018, AC1024, AC1027 and AC1032 files: an encrypted file header,
// a page map and a section map (both compressed system pages), and data pages with XOR-ed
// headers whose decompressed contents, laid end to end, make each named section.
#pragma once

#include <cstdint>
#include <span>

#include "cad/dwg/DWGSections.h"

namespace vistrel {

class DWGR2004Container {
  public:
    // Assembles AcDb:Header, AcDb:Classes, AcDb:Handles, AcDb:AcDbObjects and AcDb:Preview
    // (when present) into buffers owned by the result, so `file` may go once this returns.
    // Throws DWGFormatError for a release other than those above, an encrypted or missing
    // mandatory section, or any size, count or address the file cannot hold.
    static DWGSections read(std::span<const uint8_t> file);

    // Largest section the container accepts; beyond it a file is taken as hostile.
    static constexpr uint64_t maxSectionBytes = uint64_t{1} << 30;
};

}  // namespace vistrel

// The container of AC1021 files: a Reed-Solomon coded file header at 0x80, a page map and a
// section map in system pages, and data pages that are Reed-Solomon coded (interleaved or
// not) and compressed with the R2007 LZ77 variant.
#pragma once

#include <cstdint>
#include <span>

#include "cad/dwg/DWGSections.h"

namespace vistrel {

class DWGR2007Container {
  public:
    // Assembles the same sections as DWGR2004Container::read, into buffers owned by the
    // result. Parity bytes are dropped, not used to correct: a damaged page reads as damaged.
    // Throws DWGFormatError for another release or for any size, count or address the file
    // cannot hold.
    static DWGSections read(std::span<const uint8_t> file);
};

}  // namespace vistrel

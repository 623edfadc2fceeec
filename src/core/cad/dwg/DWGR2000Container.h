// The container of R13, R14 and R2000 files (AC1012, AC1014, AC1015): a file header whose
// section locators point straight into the file, so every span of the result is a view of
// `file` (which must outlive it), `objects` is the whole file and `preview` the image data
// (sentinel, size and its entries) when the image seeker points at any.
#pragma once

#include <cstdint>
#include <span>

#include "cad/dwg/DWGSections.h"

namespace vistrel::DWGR2000Container {

// Throws DWGFormatError when the header is cut short, a locator points outside the file or the
// header, classes or object map locator is missing.
DWGSections read(std::span<const uint8_t> file, DWGVersion version);

}  // namespace vistrel::DWGR2000Container

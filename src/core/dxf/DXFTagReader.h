// Turns the bytes of a DXF file into tags, ASCII or binary, without copying: tag texts point into
// the bytes, which must outlive the reader and every tag it gave.
//
// ASCII: a tag is two lines (line ends \n, \r\n or \r), each trimmed of white space. A pair whose
// code line is not a decimal integer is skipped in silence. A last line without a partner is
// ignored. Binary (as SKPFileInfo::isBinaryDXF decides): one- or two-byte group codes, typed
// values; the walk stops at the first group that runs past the end.
#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <span>

#include "dxf/DXFTag.h"

namespace vistrel {

class DXFTagReader {
  public:
    explicit DXFTagReader(std::span<const uint8_t> bytes);

    bool isBinary() const { return binary_; }

    // The pushed-back tag if there is one, else the next pair. False once no pair remains.
    bool read(DXFTag& tag);
    // Gives a tag back to the next read(); one slot, which must be empty.
    void pushBack(const DXFTag& tag);

    // Pairs taken from the bytes so far, skipped ones included (the reader's cursor).
    int64_t pairsRead() const { return pairs_; }
    // Bytes consumed so far, for progress.
    size_t offset() const { return size_t(p_ - begin_); }
    size_t size() const { return size_t(end_ - begin_); }

  private:
    bool nextAscii(DXFTag& tag);
    bool nextBinary(DXFTag& tag);

    const char* begin_;
    const char* p_;
    const char* end_;
    bool binary_ = false;
    bool wideCodes_ = true;  // binary: two-byte group codes (R13 and later)
    int64_t pairs_ = 0;
    std::optional<DXFTag> pushed_;
};

}  // namespace vistrel

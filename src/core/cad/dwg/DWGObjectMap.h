// The object map (AcDb:Handles): every object's handle with its offset into the objects span,
// as a vector sorted by handle. Sections of about 2 KB, each checked by its CRC and each
// starting its handle and offset deltas from zero.
#pragma once

#include <cstdint>
#include <optional>
#include <span>
#include <vector>

namespace vistrel {

class DWGObjectMap {
  public:
    struct Entry {
        uint64_t handle;
        uint64_t offset;
    };

    // Throws DWGFormatError on a section cut short or failing its CRC. A handle listed twice
    // keeps its last offset.
    static DWGObjectMap read(std::span<const uint8_t> section);

    const std::vector<Entry>& entries() const { return entries_; }
    std::optional<uint64_t> offset(uint64_t handle) const;

  private:
    std::vector<Entry> entries_;
};

}  // namespace vistrel

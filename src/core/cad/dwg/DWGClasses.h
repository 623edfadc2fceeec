// The classes section: object types from 500 on, named by their DXF names.
#pragma once

#include <cstdint>
#include <span>
#include <string>
#include <string_view>
#include <vector>

#include "cad/dwg/DWGVersion.h"

namespace vistrel {

class DWGClasses {
  public:
    // Reads what it can: a section cut short or garbled yields the classes read before it,
    // since only a few entities depend on them.
    static DWGClasses read(std::span<const uint8_t> section, DWGVersion version, uint16_t codePage);

    // The DXF name of object type `type` (500 and up), empty when no class has that number.
    std::string_view dxfName(uint16_t type) const;
    size_t size() const { return names_.size(); }

  private:
    std::vector<std::string> names_;  // by class number - 500
};

}  // namespace vistrel

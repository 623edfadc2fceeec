// Writes the built-in sample: a small two-storey house of about 12 x 8 m in metres ($INSUNITS 6),
// drawn the way an architect's DXF is: walls with real thickness and openings, slabs, a pitched
// roof and gables as 3DFACEs; windows, doors, furniture, trees and light fixtures as INSERTs of
// BLOCKs whose contents sit on layer "0"; layers named "Level 0 - walls", "Roof - covering",
// "Site - trees" so that the sidebar groups them by storey. The fixtures' block names
// ("CEILING-LAMP", "WALL-LAMP", "BOLLARD-LIGHT") make the viewer take them for point lights.
// Always the same bytes.
#pragma once

#include <cstdint>
#include <filesystem>

namespace vistrel::tools {

struct DXFSampleFigures {
    uint64_t bytes = 0;
    uint64_t faces = 0;    // 3DFACEs, in blocks and ENTITIES
    uint64_t inserts = 0;  // in blocks and ENTITIES
    int layers = 0;
    int blocks = 0;
};

// Throws std::runtime_error when the file cannot be written.
DXFSampleFigures writeDXFSampleBuilding(const std::filesystem::path& path);

}  // namespace vistrel::tools

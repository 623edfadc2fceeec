// Writes a large, deterministic architectural DXF plan for benchmarks and stress tests: a few
// hundred layers ("A-WALL-EXT", "Mur 2d 3", "Plan:Étage 1"), blocks nested three deep inserted
// thousands of times with scale, rotation and mirroring, all ten entity kinds the reader keeps
// and some it skips, $INSUNITS 4 (millimetres). The same size always gives the same bytes.
#pragma once

#include <cstdint>
#include <filesystem>

namespace vistrel::tools {

struct DXFPlanFigures {
    uint64_t bytes = 0;
    uint64_t entities = 0;  // in ENTITIES
    uint64_t inserts = 0;   // in ENTITIES
    int layers = 0;
    int blocks = 0;
};

// Writes at least targetBytes (a little more: the plan ends with whole bays). Throws
// std::runtime_error when the file cannot be written.
DXFPlanFigures writeDXFPlan(const std::filesystem::path& path, uint64_t targetBytes);

}  // namespace vistrel::tools

// Builds small DXF texts for the reader's tests: a list of (code, value) pairs, one per two lines.
#pragma once

#include <span>
#include <string>
#include <utility>
#include <vector>

#include "dxf/DXFNativeParser.h"
#include "identify/SKPFileInfo.h"

namespace vistrel::test {

using Tags = std::vector<std::pair<int, std::string>>;

inline std::string dxfText(const Tags& tags, const char* eol = "\n") {
    std::string s;
    for (const auto& [code, value] : tags) s += std::to_string(code) + eol + value + eol;
    return s;
}

// An ENTITIES section around the given tags, and EOF.
inline std::string entitiesText(const Tags& body, const Tags& header = {}) {
    Tags all = header;
    all.insert(all.end(), {{0, "SECTION"}, {2, "ENTITIES"}});
    all.insert(all.end(), body.begin(), body.end());
    all.insert(all.end(), {{0, "ENDSEC"}, {0, "EOF"}});
    return dxfText(all);
}

inline Tags headerUnits(int insUnits) {
    return {{0, "SECTION"}, {2, "HEADER"},    {9, "$ACADVER"},
            {1, "AC1015"},  {9, "$INSUNITS"}, {70, std::to_string(insUnits)},
            {0, "ENDSEC"}};
}

inline SKPModel parseDXF(const std::string& text, const SKPReader::ProgressCallback& progress = {},
                         const SKPReader::CancelCheck& isCancelled = {}) {
    SKPFileInfo info;
    info.url = "test.dxf";
    info.version = "DXF";
    std::span<const uint8_t> bytes(reinterpret_cast<const uint8_t*>(text.data()), text.size());
    return DXFNativeParser::parseBytes(bytes, info, progress, isCancelled);
}

inline size_t edgeCount(const Definition& d) {
    size_t n = 0;
    for (const EdgeSet& e : d.edges) n += e.positions.size() / 2;
    return n;
}

inline size_t triangleCount(const Definition& d) {
    size_t n = 0;
    for (const Mesh& m : d.meshes) n += m.indices.size() / 3;
    return n;
}

}  // namespace vistrel::test

// Any bytes, ASCII or binary DXF (the sentinel decides), must give a model or an SKPError, and
// the model must hold its own invariants. Built twice: for DXFNativeParser, and with
// DXF_THROUGH_IMPORTER for CADImporter.
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <span>

#include "cad/CADImporter.h"
#include "dxf/DXFNativeParser.h"
#include "model/SKPError.h"

using namespace vistrel;

#ifdef DXF_THROUGH_IMPORTER
namespace Reader = vistrel::CADImporter;
#else
namespace Reader = vistrel::DXFNativeParser;
#endif

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    SKPFileInfo info;
    info.url = "fuzz.dxf";
    info.version = "DXF";
    try {
        SKPModel m = Reader::parseBytes(std::span<const uint8_t>(data, size), info);
        if (m.layers.empty()) std::abort();
        auto check = [&](const Definition& d, int limit) {
            for (const Instance& i : d.children)
                if (i.definition < 0 || i.definition >= limit) std::abort();
            for (const EdgeSet& e : d.edges)
                if (e.positions.size() % 2 || e.layer < 0 || size_t(e.layer) >= m.layers.size())
                    std::abort();
            for (const Mesh& mesh : d.meshes)
                for (uint32_t index : mesh.indices)
                    if (index >= mesh.positions.size()) std::abort();
        };
        for (size_t k = 0; k < m.definitions.size(); ++k) check(m.definitions[k], int(k));
        check(m.root, int(m.definitions.size()));
    } catch (const SKPError&) {
    }
    return 0;
}

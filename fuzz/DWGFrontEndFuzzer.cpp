// Any bytes must give a drawing or an SKPError, and the drawing must hold its own invariants:
// every index into the pools, the layers and the blocks in range. Seed it with the corpus's
// R13 to R2000 DWG files so that it starts past the file header.
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <span>

#include "cad/dwg/DWGFrontEnd.h"
#include "model/SKPError.h"

using namespace vistrel;

namespace {

void check(const CADDrawing& d, const std::vector<CADEntity>& entities) {
    for (const CADEntity& e : entities) {
        if (e.layer < 0 || size_t(e.layer) >= d.layers.size()) std::abort();
        if (size_t(e.first) + e.count > d.vertices.size()) std::abort();
        if (size_t(e.faceFirst) + e.faceCount > d.faces.size()) std::abort();
        if (e.kind == CADEntity::Kind::text && e.detail >= d.texts.size()) std::abort();
        if (e.kind == CADEntity::Kind::insert &&
            (e.block < 0 || size_t(e.block) >= d.blocks.size()))
            std::abort();
    }
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    try {
        const CADDrawing d = DWGFrontEnd(std::span<const uint8_t>(data, size), {}, {}).read();
        check(d, d.entities);
        for (const CADBlock& b : d.blocks) check(d, b.entities);
    } catch (const SKPError&) {
    }
    return 0;
}

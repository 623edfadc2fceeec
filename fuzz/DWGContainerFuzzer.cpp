// DWG containers decrypt, decompress and assemble whatever a file claims: every claim must be
// checked against the bytes, and nothing but DWGFormatError may leave.
#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <span>
#include <vector>

#include "cad/dwg/DWGLZ77.h"
#include "cad/dwg/DWGR2004Container.h"
#include "cad/dwg/DWGR2007Container.h"
#include "cad/dwg/DWGR2007LZ.h"

using namespace vistrel;

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    std::span<const uint8_t> bytes(data, size);
    static std::vector<uint8_t> page(0x7400);
    try {
        if (DWGLZ77::decompress(bytes, page) > page.size()) std::abort();
    } catch (const DWGFormatError&) {
    }
    try {
        if (DWGR2007LZ::decompress(bytes, page) > page.size()) std::abort();
    } catch (const DWGFormatError&) {
    }
    try {
        const bool r2007 = size >= 6 && std::equal(data, data + 6, "AC1021");
        const DWGSections s =
            r2007 ? DWGR2007Container::read(bytes) : DWGR2004Container::read(bytes);
        for (auto part : {s.header, s.classes, s.handles, s.objects, s.preview}) {
            if (part.size() > DWGR2004Container::maxSectionBytes) std::abort();
            if (!part.empty() && part.data() == nullptr) std::abort();
        }
    } catch (const DWGFormatError&) {
    }
    return 0;
}

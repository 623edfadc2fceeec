#include "cad/dwg/DWGObjectMap.h"

#include <algorithm>

#include "cad/dwg/DWGBitReader.h"
#include "cad/dwg/DWGCRC.h"
#include "cad/dwg/DWGSections.h"

namespace vistrel {

DWGObjectMap DWGObjectMap::read(std::span<const uint8_t> section) {
    DWGObjectMap map;
    size_t at = 0;
    bool sorted = true;
    while (true) {
        if (at + 2 > section.size()) throw DWGFormatError("DWG object map cut short");
        // The size, big-endian, counts itself and the pairs; the CRC follows.
        const size_t size = size_t(section[at]) << 8 | section[at + 1];
        if (size == 2) break;
        if (size < 2 || at + size + 2 > section.size())
            throw DWGFormatError("DWG object map section of a wrong size");
        const uint16_t stored = uint16_t(section[at + size] << 8 | section[at + size + 1]);
        if (dwgCRC(0xC0C1, section.subspan(at, size)) != stored)
            throw DWGFormatError("DWG object map section fails its CRC");
        DWGBitReader r(section.subspan(at + 2, size - 2));
        // Each section starts its deltas afresh.
        uint64_t handle = 0;
        int64_t offset = 0;
        while (r.bitsLeft() > 0) {
            handle += r.readUMC();
            offset += r.readMC();
            if (r.overrun()) throw DWGFormatError("DWG object map pair cut short");
            if (offset < 0) throw DWGFormatError("DWG object map offset before the file");
            if (!map.entries_.empty() && handle <= map.entries_.back().handle) sorted = false;
            map.entries_.push_back({handle, uint64_t(offset)});
        }
        at += size + 2;
    }
    if (!sorted) {
        std::stable_sort(map.entries_.begin(), map.entries_.end(),
                         [](const Entry& a, const Entry& b) { return a.handle < b.handle; });
        // Of duplicates, the last one listed stands.
        std::vector<Entry> unique;
        unique.reserve(map.entries_.size());
        for (const Entry& e : map.entries_) {
            if (!unique.empty() && unique.back().handle == e.handle)
                unique.back() = e;
            else
                unique.push_back(e);
        }
        map.entries_ = std::move(unique);
    }
    return map;
}

std::optional<uint64_t> DWGObjectMap::offset(uint64_t handle) const {
    auto it = std::lower_bound(entries_.begin(), entries_.end(), handle,
                               [](const Entry& e, uint64_t h) { return e.handle < h; });
    if (it == entries_.end() || it->handle != handle) return std::nullopt;
    return it->offset;
}

}  // namespace vistrel

// Walks the objects of a DWG, whatever its container, into neutral CAD records: layers, block
// headers with their base points, and the entities of model space (then the active paper
// space, as a DXF's ENTITIES section holds both) and of each block. Entities find their place
// by their entity mode and owner handle; polyline vertices and insert attributes by theirs.
// Unknown object types and proxies are passed over by their size; an object whose bytes break
// is skipped, a broken object map or section fails the whole read.
#pragma once

#include <algorithm>
#include <cstdint>
#include <utility>
#include <vector>

#include "cad/CADDrawing.h"
#include "cad/dwg/DWGClasses.h"
#include "cad/dwg/DWGObject.h"
#include "cad/dwg/DWGObjectMap.h"
#include "cad/dwg/DWGSections.h"
#include "sketchup/SKPReader.h"

namespace vistrel {

class DWGObjectReader {
  public:
    // `sections` (and the bytes its spans point into) must outlive the reader.
    DWGObjectReader(const DWGSections& sections, const SKPReader::ProgressCallback& progress,
                    const SKPReader::CancelCheck& isCancelled);

    // Throws DWGFormatError for a broken object map, SKPError::cancelled when cancelled.
    CADDrawing read();

    // For the entity decoders: the layer of a layer handle (0 when unknown), the block of a
    // block header handle (-1 when unknown).
    int layerIndex(uint64_t handle) const;
    int blockIndex(uint64_t handle) const;
    // Calls f(DWGObject&, int layer) for each entity `owner` owns (vertices, attributes), in
    // handle order, with its common data and common handles read.
    template <typename F>
    void forEachChild(uint64_t owner, F&& f);
    DWGVersion version() const { return sections_.version; }

  private:
    struct Info {
        uint64_t handle;
        uint64_t offset;
        uint64_t owner;
        uint16_t type;
        uint8_t entityMode;
        bool entity;
    };

    bool openAt(size_t info, DWGObject& o);
    bool isEntityType(uint16_t type) const;
    void scan();
    void readLayers();
    void readBlocks();
    void readEntities();
    void decode(DWGObject& o, std::vector<CADEntity>& into);
    void poll(size_t done);

    const DWGSections& sections_;
    const SKPReader::ProgressCallback& progress_;
    const SKPReader::CancelCheck& isCancelled_;
    DWGObjectMap map_;
    DWGClasses classes_;
    CADDrawing drawing_;
    std::vector<Info> infos_;
    std::vector<std::pair<uint64_t, uint32_t>> children_;  // owner, info; sorted
    std::vector<std::pair<uint64_t, int>> layers_;         // handle, layer; sorted
    std::vector<std::pair<uint64_t, int>> blocks_;         // handle, block; sorted
    uint64_t modelSpace_ = 0, paperSpace_ = 0;
    int64_t arrayInsertsLeft_ = 1'000'000;
};

template <typename F>
void DWGObjectReader::forEachChild(uint64_t owner, F&& f) {
    auto it = std::lower_bound(children_.begin(), children_.end(),
                               std::pair<uint64_t, uint32_t>{owner, 0});
    DWGObject child;
    for (; it != children_.end() && it->first == owner; ++it) {
        if (!openAt(it->second, child)) continue;
        child.readEntityCommon();
        const int layer = layerIndex(child.readEntityHandles());
        f(child, layer);
    }
}

}  // namespace vistrel

// One object of the objects stream opened for decoding: its size, type and handle read, its
// data, handle and (from R2007) string streams set apart. Entity and object decoders then read
// their common data through it and their own fields from `data`, `handles` and text().
// Reading never leaves the object's bytes; broken() says whether any stream ran out.
#pragma once

#include <cstdint>
#include <span>
#include <string>

#include "cad/dwg/DWGBitReader.h"
#include "cad/dwg/DWGVersion.h"

namespace vistrel {

// Fixed object types the reader uses.
namespace DWGType {
enum : uint16_t {
    text = 1,
    attrib = 2,
    block = 4,
    endblk = 5,
    seqend = 6,
    insert = 7,
    minsert = 8,
    vertex2D = 10,
    vertex3D = 11,
    vertexMesh = 12,
    vertexPface = 13,
    vertexPfaceFace = 14,
    polyline2D = 15,
    polyline3D = 16,
    arc = 17,
    circle = 18,
    line = 19,
    dimOrdinate = 20,
    dimDiameter = 26,
    point = 27,
    face3D = 28,
    polylinePface = 29,
    polylineMesh = 30,
    solid = 31,
    trace = 32,
    ellipse = 35,
    spline = 36,
    mtext = 44,
    leader = 45,
    blockHeader = 49,
    layer = 51,
    ltype = 57,
    lwpolyline = 77,
    hatch = 78,
};
}  // namespace DWGType

// The common entity data decoders need.
struct DWGEntityCommon {
    uint8_t entityMode = 2;  // 0 owned (owner handle present), 1 paper space, 2 model space
    uint32_t reactors = 0;
    bool xdictionaryMissing = false;
    bool noLinks = true;
    bool byLayerLinetype = true;  // R13-R14
    uint8_t linetypeFlags = 0, plotStyleFlags = 0, materialFlags = 0;
    bool fullVisualStyle = false, faceVisualStyle = false, edgeVisualStyle = false;
    DWGColor color;
};

class DWGObject {
  public:
    // Opens the object at byte `offset` of `objects`. False when no object of sane size and
    // layout starts there.
    bool open(std::span<const uint8_t> objects, uint64_t offset, DWGVersion version,
              uint16_t codePage);

    // Entity prefix after the handle: extended data, graphics and the common entity data.
    void readEntityCommon();
    // Object prefix after the handle: extended data, reactors and extension dictionary flag.
    void readObjectCommon();
    // The common entity handles up to and including the layer and what follows it; returns
    // the layer's handle (0 when absent) and sets owner() for owned entities.
    uint64_t readEntityHandles();
    // An absolute handle from the next reference of the handle stream.
    uint64_t readReference() { return handles.readH().absolute(handle_); }
    // The next text field: TV from the data stream before R2007, TU from the string stream after.
    std::string text() { return version_ >= DWGVersion::r2007 ? strings.readTU() : data.readTV(); }
    bool broken() const { return data.overrun() || handles.overrun() || strings.overrun(); }

    uint16_t type() const { return type_; }
    uint64_t handle() const { return handle_; }
    uint64_t owner() const { return owner_; }
    DWGVersion version() const { return version_; }
    const DWGEntityCommon& common() const { return common_; }

    DWGBitReader data, handles, strings;

  private:
    void skipExtendedData();
    void startHandles(size_t bit);

    DWGVersion version_ = DWGVersion::r2000;
    uint16_t type_ = 0;
    uint64_t handle_ = 0, owner_ = 0;
    size_t start_ = 0, end_ = 0;  // bits: after the size, at the CRC
    size_t handlesAt_ = 0;
    uint64_t handleBits_ = 0;  // R2010+
    DWGEntityCommon common_;
};

}  // namespace vistrel

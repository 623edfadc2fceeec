#include <numbers>

#include "cad/dwg/DWGComplexEntityReaders.h"
#include "cad/dwg/DWGObjectReader.h"

namespace vistrel::DWGEntityReaders {

namespace {

constexpr double kDegrees = 180 / std::numbers::pi;

// The object types of the kinds, from DWGType::dimOrdinate on.
enum : uint16_t { ordinate = 20, linear, aligned, angular3Point, angular2Line, radius, diameter };

// The kind as the 70 group numbers it (its low three bits).
int dxfKind(uint16_t type) {
    switch (type) {
        case ordinate:
            return 6;
        case aligned:
            return 1;
        case angular3Point:
            return 5;
        case angular2Line:
            return 2;
        case radius:
            return 4;
        case diameter:
            return 3;
        default:
            return 0;
    }
}

// The data every kind begins with; the 12 point and the block insertion's scale and rotation
// are read over, the anonymous block holding them already applied.
void readCommon(DWGObject& o, CADDimension& d) {
    DWGBitReader& r = o.data;
    const DWGVersion v = o.version();
    if (v >= DWGVersion::r2010) r.readRC();  // version
    r.read3BD();                             // extrusion: the block is in world coordinates
    const DWGPoint2 middle = r.read2RD();
    const double elevation = r.readBD();
    d.textMiddle = {middle.x, middle.y, elevation};
    r.readRC();  // flags
    o.text();    // user text
    r.readBD();  // text rotation
    r.readBD();  // horizontal direction
    r.readBD();  // insertion scale x, y, z and rotation
    r.readBD();
    r.readBD();
    r.readBD();
    if (v >= DWGVersion::r2000) {
        r.readBS();  // attachment
        r.readBS();  // line spacing style and factor
        r.readBD();
        d.measurement = r.readBD();
    }
    if (v >= DWGVersion::r2007) {
        r.readB();
        r.readB();  // arrows flipped
        r.readB();
    }
    r.read2RD();  // 12 point
}

}  // namespace

void readDimension(DWGEntityInput& in) {
    DWGObject& o = in.object;
    DWGBitReader& r = o.data;
    CADDimension d;
    d.type = dxfKind(o.type());
    readCommon(o, d);
    switch (o.type()) {
        case ordinate:
            d.line = toCAD(r.read3BD());
            d.first = toCAD(r.read3BD());
            d.second = toCAD(r.read3BD());
            r.readRC();  // flags: the 64 bit (x ordinate) of the 70 group
            break;
        case linear:
        case aligned:
            d.first = toCAD(r.read3BD());
            d.second = toCAD(r.read3BD());
            d.line = toCAD(r.read3BD());
            r.readBD();  // extension line rotation
            if (o.type() == linear) d.rotationDeg = r.readBD() * kDegrees;
            break;
        case angular3Point:
            d.line = toCAD(r.read3BD());
            d.first = toCAD(r.read3BD());
            d.second = toCAD(r.read3BD());
            d.onCurve = toCAD(r.read3BD());
            break;
        case angular2Line:
            r.read2RD();  // arc location (16)
            d.first = toCAD(r.read3BD());
            d.second = toCAD(r.read3BD());
            d.onCurve = toCAD(r.read3BD());
            d.line = toCAD(r.read3BD());
            break;
        case radius:
            d.line = toCAD(r.read3BD());
            d.onCurve = toCAD(r.read3BD());
            r.readBD();  // leader length
            break;
        case diameter:
            d.onCurve = toCAD(r.read3BD());
            d.line = toCAD(r.read3BD());
            r.readBD();  // leader length
            break;
        default:
            return;
    }
    o.readReference();  // dimension style
    const uint64_t block = o.readReference();
    if (o.broken()) return;
    CADEntity e = in.base;
    e.kind = CADEntity::Kind::dimension;
    e.b = {1, 1, 1};
    e.extrusion = {0, 0, 1};
    e.block = in.reader.blockIndex(block);
    e.detail = uint32_t(in.drawing.dimensions.size());
    in.drawing.dimensions.push_back(d);
    in.into.push_back(e);
}

}  // namespace vistrel::DWGEntityReaders

#include <numbers>

#include "cad/dwg/DWGEntityReaders.h"
#include "cad/dwg/DWGObjectReader.h"

namespace vistrel::DWGEntityReaders {

namespace {

constexpr double kDegrees = 180 / std::numbers::pi;

}  // namespace

// The common dimension data, the points of the kind (as the DXF groups 10 to 16 name them),
// then in the handles the style and the block that draws it.
void readDimension(DWGEntityInput& in) {
    DWGObject& o = in.object;
    DWGBitReader& r = o.data;
    const DWGVersion v = o.version();
    CADEntity e = in.base;
    e.kind = CADEntity::Kind::dimension;
    e.b = {1, 1, 1};
    CADDimension d;
    if (v >= DWGVersion::r2010) r.readRC();
    r.read3BD();  // extrusion: the points are in world coordinates
    const DWGPoint2 middle = r.read2RD();
    const double elevation = r.readBD();
    d.textMiddle = {middle.x, middle.y, elevation};
    r.readRC();
    o.text();     // user text
    r.readBD();   // text rotation
    r.readBD();   // horizontal direction
    r.read3BD();  // insertion scale
    r.readBD();   // insertion rotation
    if (v >= DWGVersion::r2000) {
        r.readBS();
        r.readBS();
        r.readBD();
        d.measurement = r.readBD();
    }
    if (v >= DWGVersion::r2007) {
        r.readB();
        r.readB();
        r.readB();
    }
    r.read2RD();  // the 12 point
    switch (o.type()) {
        case DWGType::dimOrdinate:
            d.type = 6;
            d.line = toCAD(r.read3BD());
            d.first = toCAD(r.read3BD());
            d.second = toCAD(r.read3BD());
            r.readRC();
            break;
        case DWGType::dimOrdinate + 1:  // linear
        case DWGType::dimOrdinate + 2:  // aligned
            d.type = o.type() == DWGType::dimOrdinate + 1 ? 0 : 1;
            d.first = toCAD(r.read3BD());
            d.second = toCAD(r.read3BD());
            d.line = toCAD(r.read3BD());
            r.readBD();
            if (d.type == 0) d.rotationDeg = r.readBD() * kDegrees;
            break;
        case DWGType::dimOrdinate + 3:  // angular, three points
            d.type = 5;
            d.line = toCAD(r.read3BD());
            d.first = toCAD(r.read3BD());
            d.second = toCAD(r.read3BD());
            d.onCurve = toCAD(r.read3BD());
            break;
        case DWGType::dimOrdinate + 4:  // angular, two lines
            d.type = 2;
            r.read2RD();
            d.first = toCAD(r.read3BD());
            d.second = toCAD(r.read3BD());
            d.onCurve = toCAD(r.read3BD());
            d.line = toCAD(r.read3BD());
            break;
        case DWGType::dimOrdinate + 5:  // radius
        case DWGType::dimDiameter:
            d.type = o.type() == DWGType::dimDiameter ? 3 : 4;
            if (d.type == 4) {
                d.line = toCAD(r.read3BD());
                d.onCurve = toCAD(r.read3BD());
            } else {
                d.onCurve = toCAD(r.read3BD());
                d.line = toCAD(r.read3BD());
            }
            r.readBD();
            break;
        default:
            return;
    }
    o.handles.readH();  // style
    const uint64_t block = o.readReference();
    if (o.broken()) return;
    e.block = in.reader.blockIndex(block);
    e.detail = uint32_t(in.drawing.dimensions.size());
    in.drawing.dimensions.push_back(d);
    in.into.push_back(e);
}

}  // namespace vistrel::DWGEntityReaders

#include <algorithm>
#include <cmath>
#include <numbers>

#include "cad/dwg/DWGEntityReaders.h"
#include "cad/dwg/DWGObjectReader.h"

namespace vistrel::DWGEntityReaders {

namespace {

constexpr double kDegrees = 180 / std::numbers::pi;
constexpr int maxArrayInserts = 10'000;

CADPoint readScale(DWGBitReader& r, DWGVersion v) {
    if (v <= DWGVersion::r14) return toCAD(r.read3BD());
    switch (r.readBB()) {
        case 3:
            return {1, 1, 1};
        case 1: {
            const double y = r.readDD(1);
            return {1, y, r.readDD(1)};
        }
        case 2: {
            const double x = r.readRD();
            return {x, x, x};
        }
        default: {
            const double x = r.readRD();
            const double y = r.readDD(x);
            return {x, y, r.readDD(x)};
        }
    }
}

}  // namespace

void readInsert(DWGEntityInput& in, int64_t& arrayInsertsLeft) {
    DWGObject& o = in.object;
    DWGBitReader& r = o.data;
    const DWGVersion v = o.version();
    CADEntity e = in.base;
    e.kind = CADEntity::Kind::insert;
    e.a = toCAD(r.read3BD());
    e.b = readScale(r, v);
    e.rotation = r.readBD() * kDegrees;
    e.extrusion = toCAD(r.read3BD());
    // Attributes are found by their owner; only their count is stored here from R2004.
    if (r.readB() && v >= DWGVersion::r2004) r.readBL();
    int columns = 1, rows = 1;
    double columnSpacing = 0, rowSpacing = 0;
    if (o.type() == DWGType::minsert) {
        columns = r.readBS();
        rows = r.readBS();
        columnSpacing = r.readBD();
        rowSpacing = r.readBD();
    }
    e.block = in.reader.blockIndex(o.readReference());
    if (o.broken() || e.block < 0) return;
    if (o.type() != DWGType::minsert) {
        in.into.push_back(e);
    } else {
        columns = std::clamp(columns, 1, maxArrayInserts);
        rows = std::clamp(rows, 1, maxArrayInserts / columns);
        // And all of them together, however many MINSERTs a file holds.
        if (int64_t(columns) * rows > arrayInsertsLeft) columns = rows = 1;
        arrayInsertsLeft -= int64_t(columns) * rows;
        const double a = std::isfinite(e.rotation) ? e.rotation * std::numbers::pi / 180 : 0;
        const double c = std::cos(a), sn = std::sin(a);
        for (int row = 0; row < rows; ++row)
            for (int k = 0; k < columns; ++k) {
                CADEntity one = e;
                const double x = k * columnSpacing, y = row * rowSpacing;
                one.a = {e.a.x + x * c - y * sn, e.a.y + x * sn + y * c, e.a.z};
                in.into.push_back(one);
            }
    }
    in.reader.forEachChild(o.handle(), [&](DWGObject& child, int layer) {
        if (child.type() != DWGType::attrib) return;
        CADEntity base;
        base.layer = layer;
        DWGEntityInput attribute{child, base, in.drawing, in.into, in.reader};
        readText(attribute);
    });
}

}  // namespace vistrel::DWGEntityReaders

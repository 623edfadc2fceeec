#include <numbers>

#include "cad/dwg/DWGEntityReaders.h"

namespace vistrel::DWGEntityReaders {

namespace {

constexpr double kDegrees = 180 / std::numbers::pi;

CADPoint readLinePoints(DWGBitReader& r, DWGVersion v, CADPoint& end) {
    if (v <= DWGVersion::r14) {
        const CADPoint start = toCAD(r.read3BD());
        end = toCAD(r.read3BD());
        return start;
    }
    const bool flat = r.readB();
    CADPoint a, b;
    a.x = r.readRD();
    b.x = r.readDD(a.x);
    a.y = r.readRD();
    b.y = r.readDD(a.y);
    if (!flat) {
        a.z = r.readRD();
        b.z = r.readDD(a.z);
    }
    end = b;
    return a;
}

}  // namespace

void readCurve(DWGEntityInput& in) {
    DWGBitReader& r = in.object.data;
    const DWGVersion v = in.object.version();
    CADEntity e = in.base;
    switch (in.object.type()) {
        case DWGType::line:
            e.kind = CADEntity::Kind::line;
            e.a = readLinePoints(r, v, e.b);
            r.readBT(v);
            e.extrusion = toCAD(r.readBE(v));
            break;
        case DWGType::circle:
        case DWGType::arc:
            e.kind =
                in.object.type() == DWGType::arc ? CADEntity::Kind::arc : CADEntity::Kind::circle;
            e.a = toCAD(r.read3BD());
            e.radius = r.readBD();
            r.readBT(v);
            e.extrusion = toCAD(r.readBE(v));
            if (e.kind == CADEntity::Kind::arc) {
                e.start = r.readBD() * kDegrees;
                e.end = r.readBD() * kDegrees;
            }
            break;
        case DWGType::point:
            e.kind = CADEntity::Kind::point;
            e.a = toCAD(r.read3BD());
            r.readBT(v);
            e.extrusion = toCAD(r.readBE(v));
            break;
        case DWGType::ellipse:
            e.kind = CADEntity::Kind::ellipse;
            e.a = toCAD(r.read3BD());
            e.b = toCAD(r.read3BD());
            e.extrusion = toCAD(r.read3BD());
            e.radius = r.readBD();
            e.start = r.readBD();
            e.end = r.readBD();
            break;
        default:
            return;
    }
    if (!in.object.broken()) in.into.push_back(e);
}

}  // namespace vistrel::DWGEntityReaders

#include <utility>

#include "cad/dwg/DWGEntityReaders.h"

namespace vistrel::DWGEntityReaders {

void readFace(DWGEntityInput& in) {
    DWGBitReader& r = in.object.data;
    const DWGVersion v = in.object.version();
    CADEntity e = in.base;
    e.kind = CADEntity::Kind::face;
    CADPoint c[4];
    if (in.object.type() == DWGType::face3D) {
        if (v <= DWGVersion::r14) {
            for (CADPoint& p : c) p = toCAD(r.read3BD());
            r.readBS();
        } else {
            const bool noFlags = r.readB();
            const bool flat = r.readB();
            c[0].x = r.readRD();
            c[0].y = r.readRD();
            if (!flat) c[0].z = r.readRD();
            for (int i = 1; i < 4; ++i) {
                c[i].x = r.readDD(c[i - 1].x);
                c[i].y = r.readDD(c[i - 1].y);
                c[i].z = r.readDD(c[i - 1].z);
            }
            if (!noFlags) r.readBS();
        }
    } else {  // SOLID, TRACE: in the OCS at an elevation, the last two corners crosswise
        e.planar = true;
        r.readBT(v);
        const double elevation = r.readBD();
        for (CADPoint& p : c) {
            const DWGPoint2 q = r.read2RD();
            p = {q.x, q.y, elevation};
        }
        e.extrusion = toCAD(r.readBE(v));
        std::swap(c[2], c[3]);
    }
    if (in.object.broken()) return;
    e.first = uint32_t(in.drawing.vertices.size());
    e.count = 4;
    for (const CADPoint& p : c) in.drawing.vertices.push_back({p});
    in.into.push_back(e);
}

}  // namespace vistrel::DWGEntityReaders

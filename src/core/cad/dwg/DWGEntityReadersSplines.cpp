#include "cad/dwg/DWGEntityReaders.h"

namespace vistrel::DWGEntityReaders {

// A NURBS by its knots and control points, or the fit points it passes through.
void readSpline(DWGEntityInput& in) {
    DWGObject& o = in.object;
    DWGBitReader& r = o.data;
    const DWGVersion v = o.version();
    CADEntity e = in.base;
    e.kind = CADEntity::Kind::spline;
    CADSpline s;
    uint32_t scenario = uint32_t(r.readBL());
    if (v >= DWGVersion::r2013) {
        s.closed = (r.readBL() & 4) != 0;               // flags; scenario 1 says it again
        scenario = uint32_t(r.readBL()) == 15 ? 1 : 2;  // a custom knot parameter has knots
    }
    s.degree = r.readBL();
    uint32_t knots = 0, controls = 0, fits = 0;
    bool weighted = false;
    if (scenario == 2) {
        r.readBD();
        r.read3BD();
        r.read3BD();
        fits = uint32_t(r.readBL());
    } else if (scenario == 1) {
        r.readB();  // rational
        s.closed = r.readB();
        r.readB();  // periodic
        r.readBD();
        r.readBD();
        knots = uint32_t(r.readBL());
        controls = uint32_t(r.readBL());
        weighted = r.readB();
    } else {
        return;
    }
    // Each value takes at least two bits: a count past what is left is a broken object.
    const size_t left = r.bitsLeft() / 2;
    if (knots > left || controls > left || fits > left) return;
    s.knots.reserve(knots);
    for (uint32_t i = 0; i < knots; ++i) s.knots.push_back(r.readBD());
    s.control.reserve(controls);
    for (uint32_t i = 0; i < controls; ++i) {
        s.control.push_back(toCAD(r.read3BD()));
        if (weighted) s.weights.push_back(r.readBD());
    }
    s.fit.reserve(fits);
    for (uint32_t i = 0; i < fits; ++i) s.fit.push_back(toCAD(r.read3BD()));
    if (o.broken()) return;
    e.detail = uint32_t(in.drawing.splines.size());
    in.drawing.splines.push_back(std::move(s));
    in.into.push_back(e);
}

}  // namespace vistrel::DWGEntityReaders

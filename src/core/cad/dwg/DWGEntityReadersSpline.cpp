#include "cad/dwg/DWGComplexEntityReaders.h"

namespace vistrel::DWGEntityReaders {

namespace {

enum Scenario { byControlPoints = 1, byFitPoints = 2 };
constexpr int32_t customKnots = 15;

}  // namespace

void readSpline(DWGEntityInput& in) {
    DWGObject& o = in.object;
    DWGBitReader& r = o.data;
    const DWGVersion v = o.version();
    CADSpline s;
    int32_t scenario = r.readBL();
    if (v >= DWGVersion::r2013) {
        const int32_t flags = r.readBL();
        const int32_t knotParameter = r.readBL();
        s.closed = (flags & 4) != 0;
        // From R2013 the knot parameterization, not the stored scenario, says which data follow.
        scenario = knotParameter == customKnots ? byControlPoints : byFitPoints;
    }
    s.degree = r.readBL();
    int32_t knots = 0, controls = 0, fitPoints = 0;
    bool weighted = false;
    if (scenario == byFitPoints) {
        r.readBD();   // fit tolerance
        r.read3BD();  // start and end tangents
        r.read3BD();
        fitPoints = r.readBL();
    } else if (scenario == byControlPoints) {
        r.readB();  // rational: the weights flag below says it again
        s.closed = r.readB() != 0;
        r.readB();   // periodic
        r.readBD();  // knot and control tolerances
        r.readBD();
        knots = r.readBL();
        controls = r.readBL();
        weighted = r.readB() != 0;
    } else {
        return;
    }
    // A knot takes two bits at least, a point six.
    if (!fits(r, knots, 2) || !fits(r, controls, 6) || !fits(r, fitPoints, 6)) return;
    s.knots.reserve(size_t(knots));
    for (int32_t k = 0; k < knots; ++k) s.knots.push_back(r.readBD());
    s.control.reserve(size_t(controls));
    for (int32_t k = 0; k < controls && !r.overrun(); ++k) {
        s.control.push_back(toCAD(r.read3BD()));
        if (weighted) s.weights.push_back(r.readBD());
    }
    s.fit.reserve(size_t(fitPoints));
    for (int32_t k = 0; k < fitPoints && !r.overrun(); ++k) s.fit.push_back(toCAD(r.read3BD()));
    if (o.broken()) return;
    CADEntity e = in.base;
    e.kind = CADEntity::Kind::spline;
    e.detail = uint32_t(in.drawing.splines.size());
    in.drawing.splines.push_back(std::move(s));
    in.into.push_back(e);
}

}  // namespace vistrel::DWGEntityReaders

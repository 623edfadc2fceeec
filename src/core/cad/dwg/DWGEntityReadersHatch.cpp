#include <numbers>

#include "cad/dwg/DWGComplexEntityReaders.h"

namespace vistrel::DWGEntityReaders {

namespace {

constexpr double kDegrees = 180 / std::numbers::pi;

enum PathFlags : int32_t { polylinePath = 2, hasPixelSize = 4 };
enum EdgeType : uint8_t { lineEdge = 1, arcEdge, ellipseEdge, splineEdge };

CADPoint point2(DWGBitReader& r) {
    const DWGPoint2 p = r.read2RD();
    return {p.x, p.y, 0};
}

// Gradient fills (from R2004) are drawn by their boundary alone: their data are read over.
void skipGradient(DWGObject& o) {
    DWGBitReader& r = o.data;
    r.readBL();  // gradient fill, reserved
    r.readBL();
    r.readBD();  // angle, shift
    r.readBD();
    r.readBL();  // single colour, tint
    r.readBD();
    const int32_t colors = r.readBL();
    for (int32_t k = 0; k < colors && !r.overrun(); ++k) {
        r.readBD();
        r.readBS();
        r.readBL();  // RGB
        r.readRC();
    }
    o.text();  // gradient name
}

bool readSplineEdge(DWGBitReader& r, DWGVersion v, CADSpline& s) {
    s.degree = r.readBL();
    const bool rational = r.readB() != 0;
    r.readB();  // periodic
    const int32_t knots = r.readBL();
    const int32_t controls = r.readBL();
    if (!fits(r, knots, 2) || !fits(r, controls, 128)) return false;
    s.knots.reserve(size_t(knots));
    for (int32_t k = 0; k < knots; ++k) s.knots.push_back(r.readBD());
    s.control.reserve(size_t(controls));
    for (int32_t k = 0; k < controls && !r.overrun(); ++k) {
        s.control.push_back(point2(r));
        if (rational) s.weights.push_back(r.readBD());
    }
    if (v >= DWGVersion::r2010) {
        const int32_t fitPoints = r.readBL();
        if (!fits(r, fitPoints, 128)) return false;
        s.fit.reserve(size_t(fitPoints));
        for (int32_t k = 0; k < fitPoints && !r.overrun(); ++k) s.fit.push_back(point2(r));
        r.read2RD();  // start and end tangents
        r.read2RD();
    }
    return !r.overrun();
}

bool readEdge(DWGBitReader& r, DWGVersion v, CADHatchEdge& edge) {
    const uint8_t type = r.readRC();
    switch (type) {
        case lineEdge:
            edge.kind = CADHatchEdge::Kind::line;
            edge.a = point2(r);
            edge.b = point2(r);
            break;
        case arcEdge:
            edge.kind = CADHatchEdge::Kind::arc;
            edge.a = point2(r);
            edge.radius = r.readBD();
            break;
        case ellipseEdge:
            edge.kind = CADHatchEdge::Kind::ellipse;
            edge.a = point2(r);
            edge.b = point2(r);
            edge.radius = r.readBD();
            break;
        case splineEdge:
            edge.kind = CADHatchEdge::Kind::spline;
            return readSplineEdge(r, v, edge.spline);
        default:
            return false;
    }
    if (type == arcEdge || type == ellipseEdge) {
        edge.startDeg = r.readBD() * kDegrees;
        edge.endDeg = r.readBD() * kDegrees;
        edge.counterClockwise = r.readB() != 0;
    }
    return !r.overrun();
}

// A loop's path: a polyline with bulges, or a chain of edges, then the count of the boundary
// objects whose handles close the entity (not needed here).
bool readPath(DWGBitReader& r, DWGVersion v, int32_t flags, CADHatchLoop& loop) {
    if (flags & polylinePath) {
        const bool bulges = r.readB() != 0;
        r.readB();  // closed
        const int32_t n = r.readBL();
        if (!fits(r, n, 128)) return false;
        loop.polyline.reserve(size_t(n));
        for (int32_t k = 0; k < n && !r.overrun(); ++k) {
            CADVertex& vertex = loop.polyline.emplace_back();
            vertex.position = point2(r);
            if (bulges) vertex.bulge = r.readBD();
        }
    } else {
        const int32_t n = r.readBL();
        if (!fits(r, n, 8 + 128)) return false;
        loop.edges.reserve(size_t(n));
        for (int32_t k = 0; k < n; ++k)
            if (!readEdge(r, v, loop.edges.emplace_back())) return false;
    }
    r.readBL();  // boundary objects
    return !r.overrun();
}

}  // namespace

void readHatch(DWGEntityInput& in) {
    DWGObject& o = in.object;
    DWGBitReader& r = o.data;
    const DWGVersion v = o.version();
    CADHatch h;
    CADEntity e = in.base;
    e.kind = CADEntity::Kind::hatch;
    if (v >= DWGVersion::r2004) skipGradient(o);
    h.elevation = r.readBD();
    e.extrusion = toCAD(r.read3BD());
    o.text();  // pattern name
    h.solid = r.readB() != 0;
    r.readB();  // associative
    const int32_t paths = r.readBL();
    // A path holds a flag, a count and the boundary objects' count at least.
    if (!fits(r, paths, 3 * 2)) return;
    h.loops.reserve(size_t(paths));
    bool pixelSize = false;
    for (int32_t p = 0; p < paths; ++p) {
        const int32_t flags = r.readBL();
        pixelSize = pixelSize || (flags & hasPixelSize);
        if (!readPath(r, v, flags, h.loops.emplace_back())) return;
    }
    r.readBS();  // style
    r.readBS();  // pattern type
    if (!h.solid) {
        r.readBD();  // angle and scale: the lines below are already turned and scaled
        r.readBD();
        r.readB();  // double
        const int16_t lines = r.readBS();
        if (!fits(r, lines, 2 * 5 + 2)) return;
        h.pattern.reserve(size_t(lines));
        for (int16_t k = 0; k < lines && !r.overrun(); ++k) {
            CADHatchPatternLine& line = h.pattern.emplace_back();
            line.angleDeg = r.readBD() * kDegrees;
            const DWGPoint2 base = r.read2BD(), offset = r.read2BD();
            line.base = {base.x, base.y, 0};
            line.offset = {offset.x, offset.y, 0};
            const int16_t dashes = r.readBS();
            if (!fits(r, dashes, 2)) return;
            for (int16_t d = 0; d < dashes; ++d) line.dashes.push_back(r.readBD());
        }
    }
    if (pixelSize) r.readBD();
    const int32_t seeds = r.readBL();
    if (!fits(r, seeds, 128)) return;
    for (int32_t k = 0; k < seeds; ++k) r.read2RD();
    if (o.broken()) return;
    e.detail = uint32_t(in.drawing.hatches.size());
    in.drawing.hatches.push_back(std::move(h));
    in.into.push_back(e);
}

}  // namespace vistrel::DWGEntityReaders

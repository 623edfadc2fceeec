#include <numbers>

#include "cad/dwg/DWGEntityReaders.h"

namespace vistrel::DWGEntityReaders {

namespace {

constexpr double kDegrees = 180 / std::numbers::pi;

CADPoint flat(const DWGPoint2& p) {
    return {p.x, p.y, 0};
}

// A count read from the stream, refused when more items than bits are left.
bool sane(const DWGBitReader& r, uint32_t count) {
    return count <= r.bitsLeft();
}

bool readEdge(DWGBitReader& r, DWGVersion v, CADHatchEdge& edge) {
    switch (r.readRC()) {
        case 1:
            edge.kind = CADHatchEdge::Kind::line;
            edge.a = flat(r.read2RD());
            edge.b = flat(r.read2RD());
            return true;
        case 2:
            edge.kind = CADHatchEdge::Kind::arc;
            edge.a = flat(r.read2RD());
            edge.radius = r.readBD();
            edge.startDeg = r.readBD() * kDegrees;
            edge.endDeg = r.readBD() * kDegrees;
            edge.counterClockwise = r.readB();
            return true;
        case 3:
            edge.kind = CADHatchEdge::Kind::ellipse;
            edge.a = flat(r.read2RD());
            edge.b = flat(r.read2RD());
            edge.radius = r.readBD();
            edge.startDeg = r.readBD() * kDegrees;
            edge.endDeg = r.readBD() * kDegrees;
            edge.counterClockwise = r.readB();
            return true;
        case 4: {
            edge.kind = CADHatchEdge::Kind::spline;
            CADSpline& s = edge.spline;
            s.degree = r.readBL();
            const bool rational = r.readB();
            r.readB();  // periodic
            const uint32_t knots = uint32_t(r.readBL());
            const uint32_t controls = uint32_t(r.readBL());
            if (!sane(r, knots) || !sane(r, controls)) return false;
            for (uint32_t i = 0; i < knots; ++i) s.knots.push_back(r.readBD());
            for (uint32_t i = 0; i < controls; ++i) {
                s.control.push_back(flat(r.read2RD()));
                if (rational) s.weights.push_back(r.readBD());
            }
            if (v >= DWGVersion::r2010) {
                const uint32_t fits = uint32_t(r.readBL());
                if (!sane(r, fits)) return false;
                for (uint32_t i = 0; i < fits; ++i) s.fit.push_back(flat(r.read2RD()));
                r.read2RD();  // tangents
                r.read2RD();
            }
            return true;
        }
        default:
            return false;
    }
}

}  // namespace

// Boundary loops, then the pattern's lines unless solid; gradients are read past.
void readHatch(DWGEntityInput& in) {
    DWGObject& o = in.object;
    DWGBitReader& r = o.data;
    const DWGVersion v = o.version();
    CADEntity e = in.base;
    e.kind = CADEntity::Kind::hatch;
    CADHatch h;
    if (v >= DWGVersion::r2004) {
        r.readBL();
        r.readBL();
        r.readBD();
        r.readBD();
        r.readBL();
        r.readBD();
        const uint32_t colors = uint32_t(r.readBL());
        if (!sane(r, colors)) return;
        for (uint32_t i = 0; i < colors; ++i) {
            r.readBD();
            r.readBS();
            r.readBL();
            r.readRC();
        }
        o.text();  // gradient name
    }
    h.elevation = r.readBD();
    e.extrusion = toCAD(r.read3BD());
    o.text();  // pattern name
    h.solid = r.readB();
    r.readB();  // associative
    const uint32_t paths = uint32_t(r.readBL());
    if (!sane(r, paths)) return;
    bool pixelSize = false;
    for (uint32_t p = 0; p < paths && !r.overrun(); ++p) {
        const uint32_t flags = uint32_t(r.readBL());
        pixelSize = pixelSize || (flags & 4);
        CADHatchLoop& loop = h.loops.emplace_back();
        if (!(flags & 2)) {
            const uint32_t segments = uint32_t(r.readBL());
            if (!sane(r, segments)) return;
            for (uint32_t k = 0; k < segments; ++k)
                if (!readEdge(r, v, loop.edges.emplace_back())) return;
        } else {
            const bool bulges = r.readB();
            r.readB();  // closed
            const uint32_t points = uint32_t(r.readBL());
            if (!sane(r, points)) return;
            for (uint32_t k = 0; k < points; ++k) {
                CADVertex& vertex = loop.polyline.emplace_back();
                vertex.position = flat(r.read2RD());
                if (bulges) vertex.bulge = r.readBD();
            }
        }
        r.readBL();  // boundary objects, in the handle stream
    }
    r.readBS();  // style
    r.readBS();  // pattern type
    if (!h.solid) {
        r.readBD();
        r.readBD();
        r.readB();
        const uint32_t lines = uint16_t(r.readBS());
        for (uint32_t k = 0; k < lines && !r.overrun(); ++k) {
            CADHatchPatternLine& line = h.pattern.emplace_back();
            line.angleDeg = r.readBD() * kDegrees;
            line.base = flat(r.read2BD());
            line.offset = flat(r.read2BD());
            const uint32_t dashes = uint16_t(r.readBS());
            for (uint32_t d = 0; d < dashes && !r.overrun(); ++d) line.dashes.push_back(r.readBD());
        }
    }
    if (pixelSize) r.readBD();
    // The seed points end the data: reading them tells a whole hatch from a cut one.
    const uint32_t seeds = uint32_t(r.readBL());
    for (uint32_t k = 0; k < seeds && !r.overrun(); ++k) r.read2RD();
    if (o.broken()) return;
    e.detail = uint32_t(in.drawing.hatches.size());
    in.drawing.hatches.push_back(std::move(h));
    in.into.push_back(e);
}

}  // namespace vistrel::DWGEntityReaders

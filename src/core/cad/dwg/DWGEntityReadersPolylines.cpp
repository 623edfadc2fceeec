#include <array>
#include <cstdlib>

#include "cad/dwg/DWGEntityReaders.h"
#include "cad/dwg/DWGObjectReader.h"

namespace vistrel::DWGEntityReaders {

void readLwPolyline(DWGEntityInput& in) {
    DWGBitReader& r = in.object.data;
    const DWGVersion v = in.object.version();
    CADEntity e = in.base;
    e.kind = CADEntity::Kind::polyline;
    const uint16_t flags = uint16_t(r.readBS());
    const double width = (flags & 4) ? r.readBD() : 0;
    const double elevation = (flags & 8) ? r.readBD() : 0;
    if (flags & 2) r.readBD();  // thickness
    if (flags & 1) e.extrusion = toCAD(r.read3BD());
    const uint32_t points = uint32_t(r.readBL());
    const uint32_t bulges = (flags & 16) ? uint32_t(r.readBL()) : 0;
    const uint32_t ids = (v >= DWGVersion::r2010 && (flags & 1024)) ? uint32_t(r.readBL()) : 0;
    const uint32_t widths = (flags & 32) ? uint32_t(r.readBL()) : 0;
    // Each point takes at least four bits: a count past what is left is a broken object.
    const size_t left = r.bitsLeft() / 4;
    if (points > left || bulges > left || ids > left || widths > left || r.overrun()) return;
    auto& pool = in.drawing.vertices;
    e.first = uint32_t(pool.size());
    DWGPoint2 previous;
    for (uint32_t i = 0; i < points; ++i) {
        DWGPoint2 p;
        if (i == 0 || v <= DWGVersion::r14)
            p = r.read2RD();
        else
            p = r.read2DD(previous);
        previous = p;
        pool.push_back({{p.x, p.y, elevation}, 0, width, width});
    }
    for (uint32_t i = 0; i < bulges; ++i) {
        const double b = r.readBD();
        if (i < points) pool[e.first + i].bulge = b;
    }
    for (uint32_t i = 0; i < ids; ++i) r.readBL();
    for (uint32_t i = 0; i < widths; ++i) {
        const DWGPoint2 w = r.read2BD();
        if (i < points) {
            pool[e.first + i].startWidth = w.x;
            pool[e.first + i].endWidth = w.y;
        }
    }
    if (in.object.broken()) {
        pool.resize(e.first);
        return;
    }
    e.count = points;
    e.closed = (flags & 512) != 0;
    in.into.push_back(e);
}

// The polyline's own fields, then its VERTEX objects (owned by it) in handle order.
void readPolyline(DWGEntityInput& in) {
    DWGBitReader& r = in.object.data;
    const DWGVersion v = in.object.version();
    CADEntity e = in.base;
    e.kind = CADEntity::Kind::polyline;
    switch (in.object.type()) {
        case DWGType::polyline2D: {
            const uint16_t flags = uint16_t(r.readBS());
            r.readBS();  // curve type
            r.readBD();  // default widths: every vertex has its own
            r.readBD();
            r.readBT(v);
            r.readBD();  // elevation: the vertices carry their own z
            e.extrusion = toCAD(r.readBE(v));
            e.closed = (flags & 1) != 0;
            break;
        }
        case DWGType::polyline3D:
            r.readRC();  // spline flags
            e.closed = (r.readRC() & 1) != 0;
            e.is3D = true;
            break;
        case DWGType::polylinePface:
            r.readBS();
            r.readBS();
            e.is3D = true;
            break;
        case DWGType::polylineMesh: {
            const uint16_t flags = uint16_t(r.readBS());
            for (int i = 0; i < 5; ++i) r.readBS();
            e.closed = (flags & 1) != 0;
            e.is3D = true;
            break;
        }
        default:
            return;
    }
    if (in.object.broken()) return;
    auto& pool = in.drawing.vertices;
    auto& faces = in.drawing.faces;
    e.first = uint32_t(pool.size());
    e.faceFirst = uint32_t(faces.size());
    const bool planar = in.object.type() == DWGType::polyline2D;
    in.reader.forEachChild(in.object.handle(), [&](DWGObject& vertex, int) {
        DWGBitReader& d = vertex.data;
        switch (vertex.type()) {
            case DWGType::vertex2D: {
                if (!planar) return;
                d.readRC();
                const DWGPoint3 p = d.read3BD();
                double start = d.readBD(), end = start;
                if (start < 0)
                    start = end = -start;
                else
                    end = d.readBD();
                const double bulge = d.readBD();
                if (vertex.broken()) return;
                pool.push_back({{p.x, p.y, p.z}, bulge, start, end});
                break;
            }
            case DWGType::vertex3D:
            case DWGType::vertexMesh:
            case DWGType::vertexPface: {
                if (planar) return;
                d.readRC();
                const DWGPoint3 p = d.read3BD();
                if (vertex.broken()) return;
                pool.push_back({{p.x, p.y, p.z}, 0, 0, 0});
                break;
            }
            case DWGType::vertexPfaceFace: {
                std::array<int32_t, 4> index{};
                for (int32_t& i : index) i = std::abs(int32_t(d.readBS()));
                if (vertex.broken()) return;
                // Only the vertices read so far count.
                const auto n = int32_t(pool.size() - e.first);
                for (int32_t& i : index)
                    if (i > n) i = -1;
                faces.push_back(index);
                e.kind = CADEntity::Kind::polyface;
                break;
            }
            default:
                break;
        }
    });
    e.count = uint32_t(pool.size() - e.first);
    e.faceCount = uint32_t(faces.size() - e.faceFirst);
    in.into.push_back(e);
}

}  // namespace vistrel::DWGEntityReaders

namespace vistrel::DWGEntityReaders {

// A LEADER's path through its points, in world coordinates, with its arrowhead when on.
void readLeader(DWGEntityInput& in) {
    DWGBitReader& r = in.object.data;
    const DWGVersion v = in.object.version();
    CADEntity e = in.base;
    e.kind = CADEntity::Kind::polyline;
    e.is3D = true;
    r.readB();
    r.readBS();  // annotation type
    r.readBS();  // path type
    const uint32_t points = uint32_t(r.readBL());
    if (points > r.bitsLeft() / 6) return;
    auto& pool = in.drawing.vertices;
    e.first = uint32_t(pool.size());
    for (uint32_t i = 0; i < points; ++i) pool.push_back({toCAD(r.read3BD())});
    for (int i = 0; i < 4; ++i) r.read3BD();  // origin, extrusion, x direction, block offset
    if (v >= DWGVersion::r14) r.read3BD();    // end point projection
    if (v <= DWGVersion::r14) r.readBD();     // the dimension gap
    r.readBD();                               // box height and width
    r.readBD();
    r.readB();  // hook line on the x direction
    e.arrowhead = r.readB();
    if (in.object.broken()) {
        pool.resize(e.first);
        return;
    }
    e.count = points;
    in.into.push_back(e);
}

}  // namespace vistrel::DWGEntityReaders

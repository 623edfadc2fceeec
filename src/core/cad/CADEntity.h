// One drawing entity as a front end reads it, in file units and the file's own coordinates:
// the neutral record that CADConverter draws, whatever format it came from.
#pragma once

#include <cstdint>

namespace vistrel {

struct CADPoint {
    double x = 0, y = 0, z = 0;
};

// A polyline vertex; bulge (tangent of a quarter of the arc's angle, positive counter-clockwise)
// and widths as the file gives them.
struct CADVertex {
    CADPoint position;
    double bulge = 0;
    double startWidth = 0, endWidth = 0;
};

struct CADEntity {
    enum class Kind : uint8_t {
        line,       // a to b, world coordinates
        polyline,   // vertices [first, first + count); planar (OCS) unless `is3D`
        polyface,   // vertices [first, first + count), faces [faceFirst, faceFirst + faceCount)
        circle,     // centre a (OCS), radius
        arc,        // centre a (OCS), radius, start to end in degrees counter-clockwise
        ellipse,    // centre a, major axis b from it (world), radius = minor / major ratio,
                    // start to end as parameters in radians
        spline,     // CADDrawing::splines[detail]
        text,       // CADDrawing::texts[detail], in the plane of the extrusion
        hatch,      // CADDrawing::hatches[detail], in the plane of the extrusion
        dimension,  // the block `block` as an insert at the origin when it is defined, else
                    // the lines of CADDrawing::dimensions[detail]
        face,       // corners [first, first + 4) in drawing order; the fourth may repeat the third;
                    // OCS when `planar` (SOLID, TRACE), world otherwise (3DFACE)
        point,      // a, world
        insert      // block at a (OCS), scale b, rotation in degrees
    };

    Kind kind = Kind::line;
    bool closed = false;
    bool is3D = false;       // polyline: 3D polyline, vertices in world coordinates
    bool planar = false;     // face: corners in the OCS
    bool arrowhead = false;  // polyline: a filled arrow at the first vertex (leaders)
    int layer = 0;
    int block = 0;  // insert: index into CADDrawing::blocks
    uint32_t first = 0, count = 0;
    uint32_t faceFirst = 0, faceCount = 0;
    uint32_t detail = 0;  // index into the drawing's pool of the kind
    CADPoint a, b;
    double radius = 0, start = 0, end = 360, rotation = 0;
    CADPoint extrusion{0, 0, 1};  // the OCS normal
};

}  // namespace vistrel

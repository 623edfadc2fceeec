// The entity decoders, a family to a file. Each reads an entity's own fields, after its
// common data and common handles (DWGObject::readEntityCommon, readEntityHandles), and
// appends the records it makes to `into`, in file units as the DXF front end gives them:
// angles of arcs, texts and inserts in degrees, ellipse parameters in radians.
#pragma once

#include <cstdint>
#include <vector>

#include "cad/CADDrawing.h"
#include "cad/dwg/DWGObject.h"

namespace vistrel {

class DWGObjectReader;

struct DWGEntityInput {
    DWGObject& object;
    CADEntity base;  // layer set; the decoder fills the rest
    CADDrawing& drawing;
    std::vector<CADEntity>& into;
    DWGObjectReader& reader;
};

inline CADPoint toCAD(const DWGPoint3& p) {
    return {p.x, p.y, p.z};
}

namespace DWGEntityReaders {

// DWGEntityReadersCurves.cpp: LINE, ARC, CIRCLE, POINT, ELLIPSE.
void readCurve(DWGEntityInput& in);
// DWGEntityReadersFaces.cpp: 3DFACE, SOLID, TRACE.
void readFace(DWGEntityInput& in);
// DWGEntityReadersPolylines.cpp: LWPOLYLINE; POLYLINE 2D, 3D, polyface and mesh with their
// VERTEX objects; LEADER as the DXF front end draws it.
void readLwPolyline(DWGEntityInput& in);
void readPolyline(DWGEntityInput& in);
void readLeader(DWGEntityInput& in);
// DWGEntityReadersText.cpp: TEXT and ATTRIB (an invisible ATTRIB makes nothing), MTEXT.
void readText(DWGEntityInput& in);
void readMText(DWGEntityInput& in);
// DWGEntityReadersInserts.cpp: INSERT and MINSERT (an array of inserts, at most
// `arrayInsertsLeft` over the file), each followed by its attributes' texts.
void readInsert(DWGEntityInput& in, int64_t& arrayInsertsLeft);
// DWGEntityReadersDimensions.cpp: the seven DIMENSION kinds, with the block that draws each.
void readDimension(DWGEntityInput& in);
// DWGEntityReadersHatches.cpp: HATCH.
void readHatch(DWGEntityInput& in);
// DWGEntityReadersSplines.cpp: SPLINE.
void readSpline(DWGEntityInput& in);
// DWGEntityReadersMultiLeaders.cpp: MULTILEADER, its leader lines and MTEXT content.
void readMultiLeader(DWGEntityInput& in);

}  // namespace DWGEntityReaders

}  // namespace vistrel

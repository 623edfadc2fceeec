// The decoders of the entities with variable layouts, to the pattern of DWGEntityReaders.h:
// each reads an entity's own fields after its common data and common handles and appends
// what it makes to `into`, in the units the DXF front end gives (angles of dimensions and
// hatch patterns and edges in degrees). Counts read from the file are trusted only as far as
// the bits left could hold them; an entity whose bytes run out makes nothing.
#pragma once

#include <string_view>

#include "cad/dwg/DWGEntityReaders.h"

namespace vistrel::DWGEntityReaders {

// DWGEntityReadersSpline.cpp: SPLINE by control points, knots and weights, or by fit points.
void readSpline(DWGEntityInput& in);
// DWGEntityReadersDimension.cpp: the seven DIMENSION kinds (types 20 to 26), their anonymous
// block found by its handle.
void readDimension(DWGEntityInput& in);
// DWGEntityReadersHatch.cpp: HATCH, its boundary paths and pattern lines.
void readHatch(DWGEntityInput& in);

// Decodes the entity when it is one of these (`dxfName` its class's name, for types from 500);
// false when it is another.
inline bool readComplex(DWGEntityInput& in, std::string_view dxfName) {
    const uint16_t type = in.object.type();
    if (type == DWGType::spline)
        readSpline(in);
    else if (type >= DWGType::dimOrdinate && type <= DWGType::dimDiameter)
        readDimension(in);
    else if (type == DWGType::hatch || dxfName == "HATCH")
        readHatch(in);
    else
        return false;
    return true;
}

// Whether `count` items of at least `bitsEach` bits each can still be in `r`.
inline bool fits(const DWGBitReader& r, int64_t count, size_t bitsEach) {
    return count >= 0 && uint64_t(count) <= r.bitsLeft() / bitsEach;
}

}  // namespace vistrel::DWGEntityReaders

// A HATCH's data in its OCS: boundary loops (islands included, filled by the even-odd rule),
// each a polyline with bulges or a chain of edges; solid, or the lines of its pattern as the
// entity carries them (already turned and scaled); the elevation of its plane.
#pragma once

#include <vector>

#include "cad/CADEntity.h"
#include "cad/CADSpline.h"

namespace vistrel {

struct CADHatchEdge {
    enum class Kind : uint8_t { line, arc, ellipse, spline };
    Kind kind = Kind::line;
    bool counterClockwise = true;
    CADPoint a, b;      // line: ends; arc: centre; ellipse: centre, major axis end (relative)
    double radius = 0;  // arc: radius; ellipse: minor / major ratio
    double startDeg = 0, endDeg = 0;  // arc angles, ellipse parameters, in degrees
    CADSpline spline;
};

struct CADHatchLoop {
    std::vector<CADVertex> polyline;  // when not empty, the loop; else the edges
    std::vector<CADHatchEdge> edges;
};

struct CADHatchPatternLine {
    double angleDeg = 0;
    CADPoint base, offset;
    std::vector<double> dashes;  // positive drawn, negative gaps, 0 dots; empty: continuous
};

struct CADHatch {
    bool solid = false;
    double elevation = 0;
    std::vector<CADHatchLoop> loops;
    std::vector<CADHatchPatternLine> pattern;
};

}  // namespace vistrel

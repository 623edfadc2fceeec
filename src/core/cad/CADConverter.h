// Turns the neutral records of any CAD front end into the scene model: each entity into
// segments and faces by layer (curves by chord error, polyline bulges as arcs and widths as
// filled strips, planar entities and inserts through their OCS), blocks into shared definitions,
// inserts into instances (through DXFDefinitionBuilder: depth 16, points as 3 cm marks, scaled to
// metres). Layers that are off or frozen are hidden. What the records cannot draw (a zero radius, a
// face index out of range, an insert of an undefined block) is dropped in silence.
#pragma once

#include "cad/CADDrawing.h"
#include "model/SKPModel.h"

namespace vistrel::CADConverter {

// Curves are drawn so that no chord lies farther from its curve than this share of the largest
// side of the box of every point the records name.
constexpr double relativeChordError = 5e-5;

// Consumes the drawing.
SKPModel convert(CADDrawing&& drawing, const SKPFileInfo& fileInfo);

}  // namespace vistrel::CADConverter

// Turns the neutral records of any CAD front end into the scene model: each entity into
// segments and faces by layer, blocks into shared definitions, inserts into instances (through
// DXFDefinitionBuilder: depth 16, points as 3 cm marks, scaled to metres). Layers that are off
// or frozen are hidden. What the records cannot draw (a zero radius, a face index out of range,
// an insert of an undefined block) is dropped in silence.
#pragma once

#include "cad/CADDrawing.h"
#include "model/SKPModel.h"

namespace vistrel::CADConverter {

// Consumes the drawing.
SKPModel convert(CADDrawing&& drawing, const SKPFileInfo& fileInfo);

}  // namespace vistrel::CADConverter

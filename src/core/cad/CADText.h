// A TEXT, ATTRIB or MTEXT's data. TEXT and ATTRIB: insertion and alignment points in the OCS,
// justification 72/73 (74 for ATTRIB). MTEXT: insertion point and direction in world
// coordinates, attachment 1 to 9 (top left to bottom right), wrapping width, formatting codes
// still in the contents.
#pragma once

#include <string>

#include "cad/CADEntity.h"

namespace vistrel {

struct CADText {
    std::string contents;  // UTF-8
    bool mtext = false;
    CADPoint insertion, alignment, direction;
    bool hasAlignment = false, hasDirection = false;
    double height = 1, widthFactor = 1, obliqueDeg = 0;
    double rotation = 0;  // TEXT: degrees; MTEXT: radians
    int hAlign = 0, vAlign = 0;
    int attachment = 1;
    bool backward = false, upsideDown = false;  // TEXT generation flags 2 and 4
    double referenceWidth = 0, lineSpacing = 1;
};

}  // namespace vistrel

// What a CAD front end reads from one file: layers, blocks and entities as neutral records, in
// file units, with the scale to metres. Vertices and polyface faces of every entity share pools.
#pragma once

#include <array>
#include <cstdint>
#include <string>
#include <vector>

#include "cad/CADDimension.h"
#include "cad/CADEntity.h"
#include "cad/CADHatch.h"
#include "cad/CADSpline.h"
#include "cad/CADText.h"

namespace vistrel {

struct CADLayer {
    std::string name;  // UTF-8
    bool off = false;  // negative colour
    bool frozen = false;
};

struct CADBlock {
    std::string name;  // UTF-8
    CADPoint base;
    std::vector<CADEntity> entities;
    bool defined = false;  // an INSERT may name a block the file never defines
};

struct CADDrawing {
    float unitScale = 1;  // file units to metres
    std::vector<CADLayer> layers{CADLayer{"0"}};
    std::vector<CADBlock> blocks;
    std::vector<CADEntity> entities;  // model space
    std::vector<CADVertex> vertices;
    // 1-based vertex numbers relative to the polyface's first vertex; 0 for an absent fourth.
    std::vector<std::array<int32_t, 4>> faces;
    std::vector<CADSpline> splines;
    std::vector<CADText> texts;
    std::vector<CADDimension> dimensions;
    std::vector<CADHatch> hatches;
};

}  // namespace vistrel

// Turns what the DXF parser read, in file units, into Definitions in metres: the ENTITIES
// section becomes the root, each inserted block one shared definition (converted once, in
// completion order), each insert an Instance (position x OCS x rotation about Z x scale). Inserts
// deeper than 16 levels are dropped, so a block that inserts itself ends there. Points become
// 3 cm marks, thinned to about 60,000. Stats count each definition once.
#pragma once

#include <optional>
#include <string>
#include <vector>

#include "dxf/RawGeometry.h"
#include "model/BoundingBox.h"
#include "model/SKPModel.h"

namespace vistrel {

class DXFDefinitionBuilder {
  public:
    // `blocks` and `blockNames` are indexed by RawInsert::block; names already decoded. The
    // blocks' geometry is released as each finishes.
    DXFDefinitionBuilder(float unitScale, std::vector<RawBlock>& blocks,
                         std::vector<std::string> blockNames);

    // The root definition (empty name); moves the geometry out of `raw`. `box` grows by
    // everything drawn, instances included.
    Definition buildRoot(RawGeometry& raw, BoundingBox& box);

    std::vector<Definition>& definitions() { return definitions_; }
    const Stats& stats() const { return stats_; }

    // Each point becomes a segment along X of 3 cm in metres; with n points in all, only every
    // (n / 60000)-th of each layer is kept. Empties pointsByLayer.
    void convertPoints(RawGeometry& in) const;

  private:
    struct FinishedBlock {
        int index = 0;
        BoundingBox box;
    };

    Definition buildDefinition(std::string name, RawGeometry& raw, int depth, bool consume,
                               BoundingBox& box);
    Float4x4 insertMatrix(const RawInsert& in) const;
    Float4x4 planarInsertMatrix(const RawInsert& in) const;

    float unitScale_;
    std::vector<RawBlock>& blocks_;
    std::vector<std::string> blockNames_;
    std::vector<std::optional<FinishedBlock>> finished_;  // by block id
    std::vector<Definition> definitions_;
    Stats stats_;
};

}  // namespace vistrel

// A unit box as a mesh, for tests and fuzz targets that need small real geometry.
#pragma once

#include "model/SKPModel.h"

namespace vistrel::test {

// A unit box at `origin` on `layer`: 12 triangles.
inline Mesh boxMesh(int layer, Float3 origin) {
    Mesh mesh;
    mesh.layer = layer;
    for (int i = 0; i < 8; ++i)
        mesh.positions.push_back(origin +
                                 Float3{float(i & 1), float((i >> 1) & 1), float((i >> 2) & 1)});
    mesh.normals.assign(8, Float3{0, 0, 1});
    mesh.indices = {0, 1, 3, 0, 3, 2, 4, 5, 7, 4, 7, 6, 0, 1, 5, 0, 5, 4,
                    2, 3, 7, 2, 7, 6, 0, 2, 6, 0, 6, 4, 1, 3, 7, 1, 7, 5};
    return mesh;
}

}  // namespace vistrel::test

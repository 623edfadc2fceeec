// The built-in model: two unit cubes on two layers, one material, a camera and a scene. It lets
// the self-test, the snapshot and the HTTP picture route work with no file and no closed library.
#pragma once

#include "model/SKPModel.h"

namespace vistrel::SyntheticModel {

// Always the same model; its fileInfo names "Cube.skp" in the temporary folder, a file that
// does not exist and is never opened.
SKPModel cube();

}  // namespace vistrel::SyntheticModel

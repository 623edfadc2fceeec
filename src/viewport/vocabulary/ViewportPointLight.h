// One point light of the viewport, as the lists and remote commands address it.
#pragma once

#include <string>

#include "model/Math.h"
#include "vocabulary/Uuid.h"

namespace vistrel::viewport {

struct ViewportPointLight {
    Uuid id;
    std::string name;
    Float3 position;           // model space, metres
    float intensity = 1;       // 1 is the nominal power
    bool isFromScene = false;  // detected in the model rather than added by the user
    friend bool operator==(const ViewportPointLight&, const ViewportPointLight&) = default;
};

}  // namespace vistrel::viewport

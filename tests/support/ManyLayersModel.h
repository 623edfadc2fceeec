// A model of `count` layers and no geometry, as large architectural files have them: the
// default "Layer0", then names like "A-WALL-0001" in tag folders of 40 ("Lot 001" ...).
#pragma once

#include <cstdio>
#include <string>
#include <vector>

#include "model/SKPModel.h"

namespace vistrel::test {

inline SKPModel manyLayersModel(int count) {
    static const char* const kinds[] = {"A-WALL", "A-DOOR", "A-GLAZ", "S-COLS",
                                        "E-LITE", "M-HVAC", "P-FIXT", "A-FURN"};
    std::vector<Layer> layers{{"Layer0", true, std::nullopt}};
    char name[32], folder[32];
    for (int i = 1; i < count; ++i) {
        std::snprintf(name, sizeof name, "%s-%04d", kinds[i % 8], i);
        std::snprintf(folder, sizeof folder, "Lot %03d", (i - 1) / 40 + 1);
        layers.push_back({name, true, std::string(folder)});
    }
    return SKPModel(Definition{}, {}, {}, std::move(layers), {}, std::nullopt, {0, 0, 0},
                    {40, 25, 12}, Stats{}, SKPFileInfo{}, std::nullopt, std::nullopt);
}

}  // namespace vistrel::test

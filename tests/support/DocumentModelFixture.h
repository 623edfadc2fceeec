// A document on a throw-away settings file, with a viewport driven by hand, and small models.
#pragma once

#include <gtest/gtest.h>

#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "BoxMesh.h"
#include "ManualClock.h"
#include "ManualTimer.h"
#include "TestEnv.h"
#include "documents/DocumentModel.h"
#include "model/SyntheticModel.h"
#include "scene/ViewportScene.h"
#include "settings/SettingsStore.h"
#include "shell/Preferences.h"

namespace vistrel::test {

// Layers 0 and 1 in folder "Murs", layer 2 in "Toit", layer 3 alone and empty. Boxes on
// layers 0 to 2, spaced 3 m apart along x.
inline SKPModel groupedModel(std::vector<Scene> scenes = {}) {
    Definition root;
    for (int layer = 0; layer < 3; ++layer)
        root.meshes.push_back(boxMesh(layer, {3.0f * float(layer), 0, 0}));
    std::vector<Layer> layers{{"Mur nord", true, "Murs"},
                              {"Mur sud", true, "Murs"},
                              {"Toiture", true, "Toit"},
                              {"Vide", true, std::nullopt}};
    Stats stats{36, 36, 0, 0, 0, 0};
    SKPFileInfo info;
    info.url = "/tmp/grouped.skp";
    return SKPModel(std::move(root), {}, {}, std::move(layers), std::move(scenes), std::nullopt,
                    {0, 0, 0}, {7, 1, 1}, stats, info, std::nullopt, std::nullopt);
}

// Scenes for groupedModel: a plan with an ortho camera showing layers 1 and 2, one that sets
// nothing, one that shows every layer.
inline std::vector<Scene> threeScenes() {
    const Camera ortho{{20, -20, 10}, {0, 0, 0}, {0, 0, 1}, false, 35, 8};
    return {Scene{"Plan", ortho, std::vector<int>{1, 2}},
            Scene{"Sans caméra", std::nullopt, std::nullopt},
            Scene{"Tout", std::nullopt, std::vector<int>{}}};
}

class DocumentModelTest : public testing::Test {
  protected:
    void SetUp() override {
        app::Preferences::setStore(&store);
        app::Preferences::registerDefaults();
    }
    void TearDown() override {
        model.reset();
        app::Preferences::setStore(nullptr);
    }

    // Made on first use, so that a test can set preferences before.
    app::DocumentModel& doc() {
        if (!model) {
            model = std::make_unique<app::DocumentModel>(timer, clock);
            model->viewport().onRedraw = [this] { ++redraws; };
            model->isShiftHeld = [this] { return shiftHeld; };
        }
        return *model;
    }

    viewport::ViewportScene& present(SKPModel m) {
        auto scene = std::make_shared<viewport::ViewportScene>(std::move(m));
        doc().present(scene, 1.5);
        return *scene;
    }

    // Runs the camera's glide to its end.
    void settle() {
        for (int i = 0; i < 20; ++i) {
            clock.advance(0.5);
            timer.fire();
        }
    }

    TempDir dir;
    SettingsStore store{dir / "settings.json"};
    ManualTimer timer;
    ManualClock clock;
    std::unique_ptr<app::DocumentModel> model;
    int redraws = 0;
    bool shiftHeld = false;
};

}  // namespace vistrel::test

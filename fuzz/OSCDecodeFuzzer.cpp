// Arbitrary datagrams through decode and every conversion; a decoded message must survive
// encode and decode unchanged. Each message is then routed, as the server does, on a fresh
// document with layers, groups and scenes.
#include <QApplication>

#include <unistd.h>

#include <cmath>
#include <cstdint>
#include <cstdlib>
#include <filesystem>
#include <memory>
#include <string>

#include "BoxMesh.h"
#include "ManualClock.h"
#include "ManualTimer.h"
#include "documents/DocumentModel.h"
#include "osc/OSCCodec.h"
#include "remote/OSCAddressHandler.h"
#include "scene/ViewportScene.h"
#include "settings/SettingsStore.h"
#include "shell/Preferences.h"

using namespace vistrel;
using namespace vistrel::OSCCodec;

namespace {

void convert(const Value& v) {
    // intValue of a float with no 64-bit integer value ends the process by contract.
    const auto f = v.floatValue();
    if (v.kind() != Value::Kind::float32 ||
        (std::isfinite(*f) && std::fabs(std::round(*f)) < 9.2e18f))
        (void)v.intValue();
    (void)v.doubleValue();
    (void)v.boolValue();
}

// Two layers in one folder and one alone; a scene with a camera and one without.
SKPModel smallModel() {
    Definition root;
    for (int layer = 0; layer < 3; ++layer)
        root.meshes.push_back(test::boxMesh(layer, {2.0f * layer, 0, 0}));
    std::vector<Layer> layers{{"Mur", true, "Murs"}, {"Porte", true, "Murs"}, {"Toit", true, {}}};
    std::vector<Scene> scenes{
        Scene{"Plan", Camera{{10, -10, 5}, {0, 0, 0}, {0, 0, 1}, false, 35, 8},
              std::vector<int>{1}},
        Scene{"Coupe", std::nullopt, std::nullopt}};
    SKPFileInfo info;
    info.url = "/tmp/fuzz.skp";
    return SKPModel(std::move(root), {}, {}, std::move(layers), std::move(scenes), std::nullopt,
                    {0, 0, 0}, {5, 1, 1}, Stats{36, 36, 0, 0, 0, 0}, info, std::nullopt,
                    std::nullopt);
}

}  // namespace

extern "C" int LLVMFuzzerInitialize(int*, char***) {
    ::setenv("QT_QPA_PLATFORM", "offscreen", 1);
    static int argc = 1;
    static char name[] = "osc_decode_fuzzer";
    static char* argv[] = {name, nullptr};
    static QApplication application(argc, argv);
    // Preferences written by the routes go to a throw-away folder, never the user's. Removed
    // at exit after the store's last flush: handlers registered before a static's construction
    // run after its destructor.
    static const std::filesystem::path folder =
        std::filesystem::temp_directory_path() / ("vistrel-osc-fuzz-" + std::to_string(::getpid()));
    std::filesystem::create_directories(folder);
    std::atexit([] {
        std::error_code ec;
        std::filesystem::remove_all(folder, ec);
    });
    static SettingsStore store(folder / "settings.json");
    app::Preferences::setStore(&store);
    app::Preferences::registerDefaults();
    return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    const auto messages = decode({data, size});
    for (const Message& m : messages) {
        if (m.address.empty() || m.address[0] != '/') __builtin_trap();
        for (const Value& v : m.arguments) {
            convert(v);
            convert(Value(v.stringValue()));
        }
        const auto bytes = encode(m);
        const auto again = decode(bytes);
        if (again.size() != 1 || encode(again[0]) != bytes) __builtin_trap();
    }
    if (messages.empty()) return 0;

    test::ManualTimer timer;
    test::ManualClock clock;
    auto model = std::make_unique<app::DocumentModel>(timer, clock);
    // Half the inputs meet a document still loading, where only the fields take the commands.
    if (size % 2 == 0)
        model->present(std::make_shared<viewport::ViewportScene>(smallModel()), 0.1);
    else
        model->set(smallModel());
    for (const Message& m : messages) {
        const auto pieces = app::OSCAddressHandler::routePieces(m.address);
        if (!pieces.empty()) app::OSCAddressHandler::apply(pieces, m, *model);
        // Lets animated moves run, so that their ends meet the state the routes left.
        for (int i = 0; i < 4; ++i) {
            clock.advance(0.25);
            timer.fire();
        }
    }
    return 0;
}

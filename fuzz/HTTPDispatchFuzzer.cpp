// Arbitrary bytes read as one HTTP request and dispatched on the main thread, against the
// program's own cube, with no socket. Routes that open files, write files or render pictures
// are left out: they reach the disk or the GPU, not more parsing. Every other request must be
// answered at once, with a status the API uses.
#include <QApplication>

#include <cstdlib>
#include <filesystem>
#include <memory>

#include "documents/DocumentModel.h"
#include "model/SyntheticModel.h"
#include "platform/QtRepeatingTimer.h"
#include "remote/HTTPRequest.h"
#include "remote/RemoteControlServer.h"
#include "settings/SettingsStore.h"
#include "shell/Preferences.h"
#include "timing/SteadyClock.h"

using namespace vistrel;
using namespace vistrel::app;

namespace {

struct Program {
    int argc = 1;
    char name[8] = "fuzzer";
    char* argv[2] = {name, nullptr};
    QApplication application{argc, argv};
    SettingsStore store{std::filesystem::temp_directory_path() / "vistrel-http-fuzz.json"};
    QtRepeatingTimer timer;
    viewport::SteadyClock clock;
    std::unique_ptr<DocumentModel> model;

    Program() {
        Preferences::setStore(&store);
        Preferences::registerDefaults();
        model = std::make_unique<DocumentModel>(timer, clock);
        model->present(std::make_shared<viewport::ViewportScene>(SyntheticModel::cube()), 0);
        RemoteControlServer::shared().overrideModel = model.get();
    }
};

Program* program = nullptr;

}  // namespace

extern "C" int LLVMFuzzerInitialize(int*, char***) {
    ::setenv("QT_QPA_PLATFORM", "offscreen", 1);
    program = new Program;
    return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    HTTPRequestReader reader;
    reader.feed(std::string_view(reinterpret_cast<const char*>(data), size));
    reader.peerStopped();
    auto request = reader.request();
    if (!request || request->path == "/v1/open" || request->path == "/v1/pdf" ||
        request->path == "/v1/snapshot.png")
        return 0;

    auto boxes = std::make_shared<HTTPResponseBoxes>();
    bool answered = false;
    RemoteControlServer::shared().dispatchHTTPRequest(*request, boxes, [&] { answered = true; });
    const int status = boxes->status.get();
    if (!answered || (status != 200 && status != 204 && status != 400 && status != 404))
        __builtin_trap();
    if ((status == 204) != boxes->body.get().empty()) __builtin_trap();
    QCoreApplication::processEvents();
    return 0;
}

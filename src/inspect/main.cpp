// vistrel-inspect FILE...: loads each file as the viewer would and prints a JSON summary.
// Status 0 when every file loaded, 1 when one failed, 2 for a bad command line.
#include <chrono>
#include <iostream>
#include <memory>

#include "InspectOptions.h"
#include "ModelSummary.h"
#include "gl/HeadlessSnapshot.h"
#include "identify/SKPFileInfo.h"
#include "image/PNGFile.h"
#include "model/SKPError.h"
#include "pdf/VectorPDFExporter.h"
#include "scene/ViewportScene.h"
#include "settings/Localization.h"
#include "sketchup/SKPReader.h"

using namespace vistrel;
using namespace vistrel::inspect;

namespace {

// Prints the summary of one file and writes the outputs asked for; false when it did not load
// or an output could not be written.
bool summarize(const std::filesystem::path& path, const InspectOptions& options) {
    auto start = std::chrono::steady_clock::now();
    try {
        SKPModel model = SKPReader::load(path);
        double seconds =
            std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count();
        std::cout << modelSummary(model, seconds).dump(2) << std::endl;
        // The scene takes the model rather than a copy of it: a large plan would be held twice.
        std::unique_ptr<viewport::ViewportScene> scene;
        if (options.png) {
            scene = std::make_unique<viewport::ViewportScene>(std::move(model));
            std::string error;
            auto image = viewport::HeadlessSnapshot::render(
                *scene, {options.width, options.height, options.style}, error);
            if (!image || !viewport::PNGFile::write(*image, *options.png, error)) {
                std::cerr << "vistrel-inspect: " << error << "\n";
                return false;
            }
        }
        if (options.pdf) {
            if (auto failure = viewport::VectorPDFExporter::exportInitialView(
                    scene ? scene->model() : model, *options.pdf)) {
                std::cerr << "vistrel-inspect: " << *failure << "\n";
                return false;
            }
        }
        return true;
    } catch (const SKPError& e) {
        SKPFileInfo info;
        info.url = path;
        try {
            info = SKPFileInfo::read(path);
        } catch (const SKPError&) {
            // The header is unreadable too: the error says so.
        }
        std::cout << failureSummary(info, e.errorDescription()).dump(2) << std::endl;
        return false;
    }
}

}  // namespace

int main(int argc, char** argv) {
    std::vector<std::string> arguments(argv + 1, argv + argc);
    // Headless tools speak English whatever the stored preference.
    Localization::setCommandLine({"--lang", "en"});
    std::string error;
    InspectOptions options = InspectOptions::parse(arguments, error);
    if (!error.empty()) {
        std::cerr << "vistrel-inspect: " << error << "\n" << InspectOptions::usage();
        return 2;
    }
    if (options.help) {
        std::cout << InspectOptions::usage();
        return 0;
    }
    bool allLoaded = true;
    for (const auto& file : options.files) allLoaded = summarize(file, options) && allLoaded;
    return allLoaded ? 0 : 1;
}

#include "headless/SelfTest.h"

#include <QImage>

#include <charconv>
#include <cstdint>
#include <cstdio>
#include <exception>
#include <vector>

#include "headless/HeadlessRun.h"
#include "headless/Snapshot.h"
#include "identify/SKPFileInfo.h"
#include "model/SKPError.h"
#include "model/SyntheticModel.h"
#include "platform/QtRepeatingTimer.h"
#include "remote/RemoteValues.h"
#include "scene/ViewportScene.h"
#include "sketchup/SKPReader.h"
#include "sketchup/SketchUpAPI.h"
#include "timing/SteadyClock.h"
#include "view/ViewportView.h"

namespace vistrel::app::SelfTest {

namespace {

class Run {
  public:
    int failures() const { return failures_; }

    void check(bool condition, const std::string& description) {
        if (condition)
            std::printf("PASS: %s\n", description.c_str());
        else
            fail(description);
    }
    void fail(const std::string& description) {
        ++failures_;
        std::fprintf(stderr, "FAIL: %s\n", description.c_str());
    }

  private:
    int failures_ = 0;
};

// The string framing of a real .skp header: FF FE FF, a length in code units, UTF-16LE text.
void appendFramed(std::vector<std::uint8_t>& bytes, const std::string& ascii) {
    bytes.insert(bytes.end(), {0xFF, 0xFE, 0xFF, std::uint8_t(ascii.size())});
    for (char c : ascii) bytes.insert(bytes.end(), {std::uint8_t(c), 0});
}

void checkHeaderParse(Run& run) {
    std::vector<std::uint8_t> header;
    appendFramed(header, "SketchUp Model");
    appendFramed(header, "{17.3.116}");
    const SKPFileInfo info =
        SKPFileInfo::parse(header, "/tmp/self-test.skp", std::int64_t(header.size()));
    run.check(info.version == "17.3.116" && info.versionLabel == "SketchUp 2017",
              "Header parse → 17.3.116, SketchUp 2017");
}

void reportSketchUpLibrary() {
    if (auto location = SketchUpAPI::locate())
        std::printf("PASS: SketchUp framework found at %s (%s)\n", location->frameworkURL.c_str(),
                    location->origin().value_or("VISTREL_SKETCHUP_SDK").c_str());
    else
        std::printf("INFO: SketchUp framework not found — files show their thumbnail only\n");
}

int countNodes(const viewport::SceneNode& node) {
    int count = 0;
    for (const auto& child : node.children()) count += 1 + countNodes(*child);
    return count;
}

void checkSceneAndRender(Run& run) {
    auto scene = std::make_shared<viewport::ViewportScene>(SyntheticModel::cube());
    const int nodes = countNodes(*scene->rootNode());
    run.check(nodes > 0, "Cube scene has " + std::to_string(nodes) + " nodes");

    QtRepeatingTimer timer;
    viewport::SteadyClock clock;
    viewport::ViewportView view(timer, clock);
    view.setSize({800, 600});
    view.present(scene);
    const auto image = view.snapshot();
    // An image that makes no bitmap counts as uniform.
    bool nonUniform = false;
    if (image && image->width > 0 && image->height > 0 &&
        image->pixels.size() >= image->bytesPerRow() * size_t(image->height))
        nonUniform = Snapshot::isNonUniform(QImage(image->pixels.data(), image->width,
                                                   image->height, qsizetype(image->bytesPerRow()),
                                                   QImage::Format_RGBX8888));
    run.check(nonUniform, "Viewport snapshot of the cube is non-uniform");
}

void checkFile(Run& run, const std::string& file) {
    const std::filesystem::path url = expandTilde(file);
    const std::string name = url.filename().string();
    std::optional<SKPModel> model;
    try {
        model = SKPReader::load(url);
    } catch (const SKPError& error) {
        run.fail(name + ": " + error.errorDescription());
        return;
    } catch (const std::exception&) {
        run.fail(name + ": " + SKPError::unreadable(url).errorDescription());
        return;
    }
    const Stats& stats = model->stats;
    // "%.2f" without the locale's decimal comma, which QApplication switched on.
    char digits[32];
    const auto end = std::to_chars(digits, digits + sizeof digits, stats.loadSeconds,
                                   std::chars_format::fixed, 2)
                         .ptr;
    const std::string seconds(digits, end);
    run.check(stats.faces > 0,
              name + ": " + std::to_string(stats.faces) + " faces, " + std::to_string(stats.edges) +
                  " edges, " + std::to_string(stats.instances) + " instances, " +
                  std::to_string(stats.definitions) + " definitions, " +
                  std::to_string(model->layers.size()) + " layers, " +
                  std::to_string(model->scenes.size()) + " scenes in " + seconds + " s");
}

int runStatus(const std::optional<std::string>& file) {
    Run run;
    checkHeaderParse(run);
    reportSketchUpLibrary();
    checkSceneAndRender(run);
    if (file) checkFile(run, *file);
    if (run.failures() > 0)
        return HeadlessRun::fail(
            1, "Vistrel self-test: " + std::to_string(run.failures()) + " FAILURE(S)");
    std::printf("Vistrel self-test: ALL PASSED\n");
    return 0;
}

}  // namespace

void runAndExit(const std::optional<std::string>& file) {
    HeadlessRun::exit(runStatus(file));
}

}  // namespace vistrel::app::SelfTest

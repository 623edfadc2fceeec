#include <sys/resource.h>

#include <QClipboard>
#include <QGuiApplication>
#include <QMimeData>

#include <csignal>
#include <fstream>
#include <iterator>

#include "DocumentModelFixture.h"
#include "EventLoop.h"
#include "PageRaster.h"
#include "ScopedLanguage.h"
#include "capture/PNGBytes.h"
#include "capture/Workspace.h"
#include "image/PNGFile.h"
#include "pdf/VectorPDFExporter.h"
#include "platform/DesktopWorkspace.h"

namespace vistrel::test {
namespace {

namespace fs = std::filesystem;
using Bytes = std::vector<std::uint8_t>;

// Records every call; the panel answers what the test set, after running `duringPanel`.
class FakeWorkspace final : public app::Workspace {
  public:
    std::vector<std::string> calls, errors;  // hand-overs in `calls`
    std::vector<Bytes> copied;
    std::vector<SavePanel> panels;
    std::optional<fs::path> panelAnswer;
    std::function<void()> duringPanel;
    std::vector<Application> applications;

    void copyPNG(const Bytes& png) override { copied.push_back(png); }
    std::optional<fs::path> runSavePanel(const SavePanel& panel) override {
        panels.push_back(panel);
        if (duringPanel) duringPanel();
        return panelAnswer;
    }
    void presentError(const std::string& message) override { errors.push_back(message); }
    std::vector<Application> applicationsOpening(const fs::path&) override { return applications; }
    void open(const fs::path& file, const fs::path& app) override {
        calls.push_back("open " + file.string() + " with " + app.string());
    }
    void reveal(const fs::path& file) override { calls.push_back("reveal " + file.string()); }
};

std::string readText(const fs::path& path) {
    std::ifstream in(path, std::ios::binary);
    return std::string(std::istreambuf_iterator<char>(in), {});
}

viewport::Image patternImage(int width, int height) {
    viewport::Image image{width, height, true, {}};
    for (int i = 0; i < width * height * 4; ++i)
        image.pixels.push_back(i % 4 == 3 ? 255 : std::uint8_t(i * 37 + 11));
    return image;
}

class DocumentModelCaptureTest : public DocumentModelTest {
  protected:
    void SetUp() override {
        DocumentModelTest::SetUp();
        app::Workspace::setCurrent(&workspace);
        doc().scheduleAfter = [this](double, std::function<void()> action) {
            timers.push_back(std::move(action));
        };
        doc().viewport().setSize({160, 120});  // small: software GL
    }
    void TearDown() override {
        DocumentModelTest::TearDown();
        app::Workspace::setCurrent(nullptr);
    }
    // The snapshot gives `image`, or nothing, and counts its calls from now.
    void fakeSnapshots(std::optional<viewport::Image> image) {
        snapshots = 0;
        doc().viewport().snapshotter = [this, image] {
            ++snapshots;
            return image;
        };
    }
    void setFile(const fs::path& url) {
        SKPFileInfo info;
        info.url = url;
        doc().setInfo(info);
    }
    ScopedLanguage english{AppLanguage::en};
    // No SketchUp library from this machine may answer for the tests.
    ScopedEnv sdk{"VISTREL_SKETCHUP_SDK", nullptr};
    ScopedEnv bundledOnly{"VISTREL_BUNDLED_SDK_ONLY", "1"};
    FakeWorkspace workspace;
    std::vector<std::function<void()>> timers;  // run by hand, in the order they expire
    int snapshots = 0;
};

TEST_F(DocumentModelCaptureTest, captureWaitsForReadyWhileHandOverWorksFromTheHeader) {
    workspace.applications = {{"Files", "/apps/files.desktop"},
                              {"SketchUp 2024", "/apps/sketchup.desktop"}};
    setFile("/plans/house.skp");
    fakeSnapshots(patternImage(8, 8));
    workspace.panelAnswer = dir / "out.png";
    doc().copyImage();
    doc().exportImage();
    doc().exportVectorPDF();
    EXPECT_FALSE(doc().renderVectorPDF(Float2{400, 300}) || snapshots || doc().flashMessage());

    // The first application whose name says SketchUp, not the desktop's first.
    doc().openInSketchUp();
    doc().setState(app::DocumentModel::Failed{"broken"});
    doc().revealInFinder();
    EXPECT_EQ(workspace.calls,
              (std::vector<std::string>{"open /plans/house.skp with /apps/sketchup.desktop",
                                        "reveal /plans/house.skp"}));

    // Each header asks again; an application that carries the library in use comes first.
    const fs::path app = dir / "opt" / "SketchUp 2023.app", loose = dir / "SketchUpAPI.framework",
                   framework = app / "Contents/Frameworks/SketchUpAPI.framework";
    for (const auto& f : {framework, loose}) {
        fs::create_directories(f);
        std::ofstream(f / "SketchUpAPI").flush();
    }
    using Path = std::optional<fs::path>;
    const std::tuple<const char*, Path, Path> cases[] = {
        {"Sketchbook", {}, {}},
        {"SketchUp Make", {}, "/apps/one.desktop"},
        {"SketchUp Viewer", framework, app},
        {"SketchUp Viewer", loose, "/apps/one.desktop"},
    };
    for (const auto& [name, library, expected] : cases) {
        ScopedEnv sdkEnv("VISTREL_SKETCHUP_SDK", library ? library->c_str() : nullptr);
        workspace.applications = {{name, "/apps/one.desktop"}};
        setFile("/plans/shed.skp");
        EXPECT_EQ(doc().sketchUpApp(), expected) << name;
    }
    doc().setInfo(std::nullopt);
    EXPECT_FALSE(doc().sketchUpApp());
}

TEST_F(DocumentModelCaptureTest, exportAndCopyUseOneSnapshotTakenBeforeThePanel) {
    present(groupedModel());
    fakeSnapshots(std::nullopt);
    workspace.panelAnswer = dir / "none.png";
    doc().copyImage();
    doc().exportImage();
    EXPECT_TRUE(workspace.panels.empty() && workspace.copied.empty()) << "no picture, no panel";
    fakeSnapshots(patternImage(12, 9));
    int snapshotsAtPanel = -1;
    workspace.duringPanel = [&] { snapshotsAtPanel = snapshots; };
    workspace.panelAnswer = dir / "pattern.png";
    doc().exportImage();
    EXPECT_TRUE(snapshotsAtPanel == 1 && snapshots == 1 &&
                workspace.panels.at(0).allowedExtension == "png");
    EXPECT_EQ(doc().flashMessage(), "PNG image exported");
    EXPECT_EQ(viewport::PNGFile::read(dir / "pattern.png").value().pixels,
              patternImage(12, 9).pixels);
    doc().copyImage();  // the same picture as PNG bytes
    EXPECT_EQ(workspace.copied.at(0), app::pngBytes(patternImage(12, 9)));
    EXPECT_EQ(doc().flashMessage(), "Image copied to clipboard");

    // Suggested names keep inner dots and fall back to the program's name; a cancelled panel
    // writes nothing and says nothing.
    workspace.panels.clear();
    workspace.panelAnswer.reset();
    const size_t timersBefore = timers.size();
    for (const char* url : {"", "/plans/model.v2.skp", "/plans/Plan RDC.dxf"}) {
        if (*url) setFile(url);
        doc().exportImage();
        doc().exportVectorPDF();
    }
    std::vector<std::string> names;
    for (const auto& panel : workspace.panels) names.push_back(panel.suggestedName);
    EXPECT_EQ(names, (std::vector<std::string>{"Vistrel.png", "Vistrel.pdf", "model.v2.png",
                                               "model.v2.pdf", "Plan RDC.png", "Plan RDC.pdf"}));
    EXPECT_EQ(timers.size(), timersBefore) << "no word";
    EXPECT_FALSE(fs::exists(dir / "none.png"));

    // The PDF too is the view before the panel: the layers hidden there would shrink it.
    doc().viewport().setSize({400, 300});
    const auto early = doc().renderVectorPDF(std::nullopt).value();
    workspace.panelAnswer = dir / "view.pdf";
    workspace.duringPanel = [&] { doc().setAllLayers(false); };
    doc().exportVectorPDF();
    EXPECT_TRUE(workspace.panels.back().allowedExtension == "pdf" &&
                doc().flashMessage() == "Vector PDF exported");
    EXPECT_EQ(readText(dir / "view.pdf").size(), early.size());
    EXPECT_LT(doc().renderVectorPDF(std::nullopt)->size(), early.size());
}

// Headless exports used to take exposure 0 where a new window has -0.62: 1.5 times too bright.
TEST_F(DocumentModelCaptureTest, headlessPDFOfANewDocumentLooksLikeTheWindowsOwn) {
    doc().viewport().setSize({400, 300});
    present(groupedModel());
    const auto window = doc().vectorPDFOptions(std::nullopt);
    const auto headless = viewport::VectorPDFExporter::initialViewOptions(*doc().skp(), {400, 300});
    EXPECT_EQ(headless.exposureOffset, window.exposureOffset);
    const auto pdf = viewport::VectorPDFExporter::renderPDF(*doc().skp(), headless).value();
    const auto windowPDF = doc().renderVectorPDF(std::nullopt).value();
    const auto page = rasterisePDF(pdf, dir.path(), "headless"),
               windowPage = rasterisePDF(windowPDF, dir.path(), "window");
    if (!page || !windowPage) GTEST_SKIP() << "poppler's pdftoppm is missing";
    EXPECT_TRUE(page->width == windowPage->width && page->rgb == windowPage->rgb);
}

TEST_F(DocumentModelCaptureTest, failedWriteShowsTheErrorAndKeepsTheOldFile) {
    present(groupedModel());
    fakeSnapshots(patternImage(64, 64));
    auto exportTo = [&](const fs::path& path) {
        workspace.errors.clear();
        workspace.panelAnswer = path;
        doc().exportImage();
        return workspace.errors.size() == 1 ? workspace.errors[0] : "";
    };
    const std::string missing = exportTo(dir / "missing" / "view.png");
    EXPECT_TRUE(missing.find("The file “view.png” couldn’t be saved") != std::string::npos &&
                missing.find((dir / "missing").string()) != std::string::npos)
        << missing;
    EXPECT_FALSE(fs::exists(dir / "missing"));

    // The disk fills while the new picture is written over an older one.
    const std::string old = "the older export";
    std::ofstream(dir / "old.png") << old;
    auto oldHandler = std::signal(SIGXFSZ, SIG_IGN);
    rlimit limit{};
    ::getrlimit(RLIMIT_FSIZE, &limit);
    const rlimit small{32, limit.rlim_max};
    ::setrlimit(RLIMIT_FSIZE, &small);
    EXPECT_NE(exportTo(dir / "old.png"), "");
    ::setrlimit(RLIMIT_FSIZE, &limit);
    std::signal(SIGXFSZ, oldHandler);
    EXPECT_EQ(readText(dir / "old.png"), old);
    for (const auto& entry : fs::directory_iterator(dir.path()))
        EXPECT_TRUE(entry.path().filename() == "old.png" ||
                    entry.path().filename().string().starts_with("settings.json"))
            << "left behind: " << entry.path();
    EXPECT_FALSE(doc().flashMessage());
}

TEST_F(DocumentModelCaptureTest, newerFlashKeepsItsFullTimeAndTheOlderTimerLeavesIt) {
    doc().flash("first");
    doc().flash("second");
    timers[0]();
    EXPECT_EQ(doc().flashMessage(), "second");
    timers[1]();
    EXPECT_FALSE(doc().flashMessage());
    for (int i = 0; i < 2; ++i) doc().flash("again");
    timers[2]();
    EXPECT_FALSE(doc().flashMessage()) << "the same text twice: the first timer ends it";
    doc().flash("closing");
    model.reset();
    timers[4]();  // the timer holds the model weakly: it may fire after the document closed
}

// The real desktop: SketchUp is found through .desktop entries in the XDG folders (every type
// derives from application/octet-stream, whatever the MIME database says) and started on the
// file; the clipboard gets PNG bytes and an image.
TEST_F(DocumentModelCaptureTest, desktopFindsSketchUpThroughItsEntriesAndCopiesPNG) {
    app::Workspace::setCurrent(nullptr);
    const char* root = dir.path().c_str();
    ScopedEnv home("HOME", root), configHome("XDG_CONFIG_HOME", root),
        configDirs("XDG_CONFIG_DIRS", root), dataHome("XDG_DATA_HOME", root),
        dataDirs("XDG_DATA_DIRS", root);
    const fs::path file = dir / "Maison v2.skp", script = dir / "open-with.sh",
                   sketchUp = dir / "applications" / "com.sketchup.SketchUp2024.desktop";
    std::ofstream(script)
        << "#!/bin/sh\nprintf '%s' \"$1\" > \"$1.tmp\" && mv \"$1.tmp\" \"$1.opened\"\n";
    fs::permissions(script, fs::perms::owner_all);
    fs::create_directories(sketchUp.parent_path());
    std::ofstream(sketchUp)
        << "[Desktop Entry]\nType=Application\nMimeType=application/octet-stream;\n"
           "Name=SketchUp 2024\nExec=\"" +
               script.string() + "\" %f\n";
    setFile(file);
    EXPECT_EQ(doc().sketchUpApp(), sketchUp);
    doc().openInSketchUp();
    const fs::path marker = file.string() + ".opened";
    EXPECT_TRUE(waitUntil([&] { return fs::exists(marker); }, 5));
    EXPECT_EQ(readText(marker), file.string());

    const auto png = app::pngBytes(patternImage(6, 5)).value();
    app::DesktopWorkspace().copyPNG(png);
    const QMimeData* data = QGuiApplication::clipboard()->mimeData();
    ASSERT_TRUE(data);
    const QByteArray bytes = data->data("image/png");
    EXPECT_EQ(Bytes(bytes.begin(), bytes.end()), png);
    EXPECT_EQ(qvariant_cast<QImage>(data->imageData()).size(), QSize(6, 5));
}

}  // namespace
}  // namespace vistrel::test

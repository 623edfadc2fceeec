#include <sys/resource.h>
#include <unistd.h>

#include <QClipboard>
#include <QGuiApplication>
#include <QMimeData>

#include <algorithm>
#include <chrono>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <iterator>
#include <set>
#include <thread>

#include "DocumentModelFixture.h"
#include "ScopedLanguage.h"
#include "capture/PNGBytes.h"
#include "capture/Workspace.h"
#include "image/PNGFile.h"
#include "platform/DesktopWorkspace.h"

namespace vistrel::test {
namespace {

namespace fs = std::filesystem;
using Bytes = std::vector<std::uint8_t>;

// Records every call; the panel answers what the test set, after running `duringPanel`.
class FakeWorkspace final : public app::Workspace {
  public:
    std::vector<std::string> calls;
    std::vector<Bytes> copied;
    std::vector<SavePanel> panels;
    std::optional<fs::path> panelAnswer;
    std::function<void()> duringPanel;
    std::vector<std::string> errors;
    std::vector<Application> applications;
    std::vector<std::pair<fs::path, fs::path>> opened;
    std::vector<fs::path> revealed;

    void copyPNG(const Bytes& png) override {
        calls.push_back("copy");
        copied.push_back(png);
    }
    std::optional<fs::path> runSavePanel(const SavePanel& panel) override {
        calls.push_back("panel");
        panels.push_back(panel);
        if (duringPanel) duringPanel();
        return panelAnswer;
    }
    void presentError(const std::string& message) override {
        calls.push_back("error");
        errors.push_back(message);
    }
    std::vector<Application> applicationsOpening(const fs::path&) override { return applications; }
    void open(const fs::path& file, const fs::path& application) override {
        calls.push_back("open");
        opened.emplace_back(file, application);
    }
    void reveal(const fs::path& file) override {
        calls.push_back("reveal");
        revealed.push_back(file);
    }
};

// Delayed actions run when the test moves time past them, in order.
class ManualScheduler {
  public:
    void schedule(double seconds, std::function<void()> action) {
        delays.push_back(seconds);
        pending_.push_back({now_ + seconds, std::move(action)});
    }
    void advanceTo(double time) {
        now_ = time;
        std::stable_sort(pending_.begin(), pending_.end(),
                         [](const auto& a, const auto& b) { return a.first < b.first; });
        while (!pending_.empty() && pending_.front().first <= now_) {
            auto action = std::move(pending_.front().second);
            pending_.erase(pending_.begin());
            action();
        }
    }
    std::vector<double> delays;

  private:
    double now_ = 0;
    std::vector<std::pair<double, std::function<void()>>> pending_;
};

Bytes readBytes(const fs::path& path) {
    std::ifstream in(path, std::ios::binary);
    return Bytes(std::istreambuf_iterator<char>(in), {});
}

void writeBytes(const fs::path& path, const std::string& text) {
    std::ofstream(path, std::ios::binary) << text;
}

// A picture with something in it, for tests that are not about rendering.
viewport::Image patternImage(int width, int height) {
    viewport::Image image{width, height, true, {}};
    for (int y = 0; y < height; ++y)
        for (int x = 0; x < width; ++x)
            image.pixels.insert(image.pixels.end(),
                                {std::uint8_t(x * 37 + y * 11), std::uint8_t(x * y * 5),
                                 std::uint8_t(y * 13), 255});
    return image;
}

bool isOneColour(const viewport::Image& image) {
    for (int y = 0; y < image.height; ++y)
        for (int x = 0; x < image.width; ++x)
            if (!std::equal(image.pixel(x, y), image.pixel(x, y) + 3, image.pixel(0, 0)))
                return false;
    return true;
}

// Share of pixels where some colour channel differs by more than 8.
double differingFraction(const viewport::Image& a, const viewport::Image& b) {
    if (a.width != b.width || a.height != b.height) return 1;
    int differing = 0;
    for (int y = 0; y < a.height; ++y)
        for (int x = 0; x < a.width; ++x)
            for (int c = 0; c < 3; ++c)
                if (std::abs(int(a.pixel(x, y)[c]) - int(b.pixel(x, y)[c])) > 8) {
                    ++differing;
                    break;
                }
    return double(differing) / (double(a.width) * a.height);
}

std::optional<std::string> commandOutput(const std::string& command) {
    std::FILE* pipe = ::popen(command.c_str(), "r");
    if (!pipe) return std::nullopt;
    std::string output;
    char buffer[256];
    while (size_t n = std::fread(buffer, 1, sizeof buffer, pipe)) output.append(buffer, n);
    if (::pclose(pipe) != 0) return std::nullopt;
    return output;
}

// The page of a PDF at one pixel per point, through poppler.
std::optional<viewport::Image> rasterise(const fs::path& pdf) {
    const fs::path stem = fs::path(pdf).replace_extension();
    if (!commandOutput("pdftoppm -r 72 -png -singlefile '" + pdf.string() + "' '" + stem.string() +
                       "' 2>/dev/null"))
        return std::nullopt;
    return viewport::PNGFile::read(stem.string() + ".png");
}

class DocumentModelCaptureTest : public DocumentModelTest {
  protected:
    void SetUp() override {
        DocumentModelTest::SetUp();
        app::Workspace::setCurrent(&workspace);
        doc().scheduleAfter = [this](double seconds, std::function<void()> action) {
            scheduler.schedule(seconds, std::move(action));
        };
        // Small: software GL renders every snapshot.
        doc().viewport().setSize({160, 120});
    }
    void TearDown() override {
        DocumentModelTest::TearDown();
        app::Workspace::setCurrent(nullptr);
    }

    app::DocumentModel& document() { return doc(); }

    // The snapshot gives `image`, or nothing, and counts its calls.
    void fakeSnapshots(std::optional<viewport::Image> image) {
        document().viewport().snapshotter = [this, image] {
            ++snapshots;
            return image;
        };
    }

    SKPFileInfo infoAt(const fs::path& url) {
        SKPFileInfo info;
        info.url = url;
        return info;
    }

    ScopedLanguage english{AppLanguage::en};
    // No SketchUp library from this machine may answer for the tests.
    ScopedEnv sdk{"VISTREL_SKETCHUP_SDK", nullptr};
    ScopedEnv bundledOnly{"VISTREL_BUNDLED_SDK_ONLY", "1"};
    FakeWorkspace workspace;
    ManualScheduler scheduler;
    int snapshots = 0;
};

TEST_F(DocumentModelCaptureTest, captureWaitsForReadyWhileHandOverWorksFromTheHeader) {
    workspace.applications = {{"Files", "/apps/files.desktop"},
                              {"SketchUp 2024", "/apps/sketchup.desktop"}};
    document().setInfo(infoAt("/plans/house.skp"));
    fakeSnapshots(patternImage(8, 8));
    workspace.panelAnswer = dir / "out.png";

    document().copyImage();
    document().exportImage();
    document().exportVectorPDF();
    EXPECT_FALSE(document().renderVectorPDF(Float2{400, 300}));
    EXPECT_EQ(snapshots, 0);
    EXPECT_TRUE(workspace.calls.empty());
    EXPECT_FALSE(document().flashMessage());
    EXPECT_FALSE(fs::exists(dir / "out.png"));

    // The first application whose name says SketchUp, not the desktop's first.
    EXPECT_EQ(document().sketchUpApp(), fs::path("/apps/sketchup.desktop"));
    document().openInSketchUp();
    document().setState(app::DocumentModel::Failed{"broken"});
    document().revealInFinder();
    EXPECT_EQ(workspace.calls, (std::vector<std::string>{"open", "reveal"}));
    ASSERT_EQ(workspace.opened.size(), 1u);
    EXPECT_EQ(workspace.opened[0].first, fs::path("/plans/house.skp"));
    EXPECT_EQ(workspace.opened[0].second, fs::path("/apps/sketchup.desktop"));
    EXPECT_EQ(workspace.revealed, std::vector<fs::path>{"/plans/house.skp"});
}

TEST_F(DocumentModelCaptureTest, handOverNeedsTheHeaderAndAnApplication) {
    workspace.applications = {{"Sketchbook", "/apps/sketchbook.desktop"}};
    document().openInSketchUp();
    document().revealInFinder();
    document().setInfo(infoAt("/plans/house.skp"));
    EXPECT_FALSE(document().sketchUpApp());
    document().openInSketchUp();
    EXPECT_TRUE(workspace.calls.empty());

    // A later header asks again.
    workspace.applications.push_back({"SketchUp Make", "/apps/make.desktop"});
    int notified = 0;
    QObject::connect(&document(), &app::DocumentModel::sketchUpAppChanged, [&] { ++notified; });
    document().setInfo(infoAt("/plans/shed.skp"));
    EXPECT_EQ(document().sketchUpApp(), fs::path("/apps/make.desktop"));
    document().setInfo(std::nullopt);
    EXPECT_FALSE(document().sketchUpApp());
    EXPECT_EQ(notified, 2);
}

TEST_F(DocumentModelCaptureTest, exportedPictureIsTheViewBeforeThePanelOpened) {
    document().setInfo(infoAt("/plans/grouped.skp"));
    present(groupedModel());
    auto before = document().viewport().snapshot();
    if (!before) GTEST_SKIP() << "no GL context for a headless snapshot on this machine";
    ASSERT_FALSE(isOneColour(*before));

    workspace.panelAnswer = dir / "view.png";
    workspace.duringPanel = [&] {
        document().setShadingStyle(viewport::ShadingStyle::wireframe);
        document().setBackdropStyle(viewport::BackdropStyle::studioDark);
        document().viewport().orbitByDegrees(90, 30);
    };
    document().exportImage();

    ASSERT_EQ(workspace.panels.size(), 1u);
    EXPECT_EQ(workspace.panels[0].allowedExtension, "png");
    EXPECT_EQ(workspace.panels[0].suggestedName, "grouped.png");
    EXPECT_EQ(workspace.panels[0].title, "Export PNG Image");
    auto written = viewport::PNGFile::read(dir / "view.png");
    ASSERT_TRUE(written);
    EXPECT_EQ(written->width, before->width);
    EXPECT_EQ(written->height, before->height);
    EXPECT_FALSE(isOneColour(*written));
    EXPECT_LT(differingFraction(*written, *before), 0.01);
    auto after = document().viewport().snapshot();
    ASSERT_TRUE(after);
    EXPECT_GT(differingFraction(*written, *after), 0.2) << "the panel's changes did not show";
    EXPECT_EQ(document().flashMessage(), "PNG image exported");
    EXPECT_TRUE(workspace.errors.empty());
}

TEST_F(DocumentModelCaptureTest, exportedPDFIsTheViewBeforeThePanelOnTheViewsPage) {
    present(groupedModel());
    document().viewport().setSize({400, 300});
    auto early = document().renderVectorPDF(std::nullopt);
    ASSERT_TRUE(early);
    writeBytes(dir / "early.pdf", std::string(early->begin(), early->end()));

    workspace.panelAnswer = dir / "view.pdf";
    workspace.duringPanel = [&] { document().setAllLayers(false); };
    document().exportVectorPDF();

    ASSERT_EQ(workspace.panels.size(), 1u);
    EXPECT_EQ(workspace.panels[0].allowedExtension, "pdf");
    EXPECT_EQ(workspace.panels[0].suggestedName, "Vistrel.pdf");
    EXPECT_EQ(workspace.panels[0].title, "Export View as Vector PDF");
    EXPECT_EQ(document().flashMessage(), "Vector PDF exported");
    const Bytes written = readBytes(dir / "view.pdf");
    ASSERT_GT(written.size(), 4u);
    EXPECT_EQ(std::string(written.begin(), written.begin() + 5), "%PDF-");

    auto info = commandOutput("pdfinfo '" + (dir / "view.pdf").string() + "' 2>/dev/null");
    if (!info) GTEST_SKIP() << "poppler's pdfinfo is missing";
    EXPECT_NE(info->find("400 x 300 pts"), std::string::npos) << *info;
    auto page = rasterise(dir / "view.pdf");
    auto earlyPage = rasterise(dir / "early.pdf");
    ASSERT_TRUE(page && earlyPage);
    EXPECT_LT(differingFraction(*page, *earlyPage), 0.01);
    auto late = document().renderVectorPDF(std::nullopt);
    ASSERT_TRUE(late);
    writeBytes(dir / "late.pdf", std::string(late->begin(), late->end()));
    auto latePage = rasterise(dir / "late.pdf");
    ASSERT_TRUE(latePage);
    EXPECT_GT(differingFraction(*page, *latePage), 0.01) << "hiding the layers did not show";
}

// Headless exports used to take exposure 0 where a new window has -0.62: 1.5 times too bright.
TEST_F(DocumentModelCaptureTest, headlessPDFOfANewDocumentLooksLikeTheWindowsOwn) {
    document().viewport().setSize({400, 300});
    present(groupedModel());
    const auto window = document().vectorPDFOptions(std::nullopt);
    const auto headless = viewport::VectorPDFExporter::initialViewOptions(*doc().skp(), {400, 300});
    EXPECT_EQ(headless.exposureOffset, window.exposureOffset);
    const auto pdf = viewport::VectorPDFExporter::renderPDF(*doc().skp(), headless);
    const auto windowPDF = document().renderVectorPDF(std::nullopt);
    ASSERT_TRUE(pdf && windowPDF);
    writeBytes(dir / "headless.pdf", std::string(pdf->begin(), pdf->end()));
    writeBytes(dir / "window.pdf", std::string(windowPDF->begin(), windowPDF->end()));
    auto page = rasterise(dir / "headless.pdf"), windowPage = rasterise(dir / "window.pdf");
    if (!page || !windowPage) GTEST_SKIP() << "poppler's pdftoppm is missing";
    EXPECT_LT(differingFraction(*page, *windowPage), 0.01);
}

TEST_F(DocumentModelCaptureTest, snapshotIsTakenOnceAndBeforeThePanel) {
    present(groupedModel());
    fakeSnapshots(patternImage(12, 9));
    int snapshotsAtPanel = -1;
    workspace.duringPanel = [&] {
        if (snapshotsAtPanel < 0) snapshotsAtPanel = snapshots;
    };
    workspace.panelAnswer = dir / "pattern.png";
    document().exportImage();
    EXPECT_EQ(snapshotsAtPanel, 1);
    EXPECT_EQ(snapshots, 1);
    EXPECT_EQ(workspace.panels.size(), 1u);
    auto written = viewport::PNGFile::read(dir / "pattern.png");
    ASSERT_TRUE(written);
    EXPECT_EQ(written->pixels, patternImage(12, 9).pixels);
}

TEST_F(DocumentModelCaptureTest, suggestedNameKeepsInnerDotsAndFallsBackToVistrel) {
    present(groupedModel());
    fakeSnapshots(patternImage(4, 4));
    document().exportImage();
    document().setInfo(infoAt("/plans/model.v2.skp"));
    document().exportImage();
    document().exportVectorPDF();
    document().setInfo(infoAt("/plans/Plan RDC.dxf"));
    document().exportVectorPDF();
    std::vector<std::string> names;
    for (const auto& panel : workspace.panels) names.push_back(panel.suggestedName);
    EXPECT_EQ(names, (std::vector<std::string>{"Vistrel.png", "model.v2.png", "model.v2.pdf",
                                               "Plan RDC.pdf"}));
}

TEST_F(DocumentModelCaptureTest, cancelledPanelWritesNothingAndSaysNothing) {
    present(groupedModel());
    fakeSnapshots(patternImage(4, 4));
    auto listing = [&] {
        std::set<fs::path> names;
        for (const auto& entry : fs::directory_iterator(dir.path())) names.insert(entry.path());
        return names;
    };
    const auto before = listing();
    document().exportImage();
    document().exportVectorPDF();
    EXPECT_EQ(workspace.calls, (std::vector<std::string>{"panel", "panel"}));
    EXPECT_EQ(listing(), before);
    EXPECT_FALSE(document().flashMessage());
    EXPECT_TRUE(scheduler.delays.empty());
}

TEST_F(DocumentModelCaptureTest, pictureThatCannotBeTakenIsDroppedSilently) {
    present(groupedModel());
    fakeSnapshots(std::nullopt);
    workspace.panelAnswer = dir / "none.png";
    document().copyImage();
    document().exportImage();
    EXPECT_EQ(snapshots, 2);
    EXPECT_TRUE(workspace.calls.empty());
    EXPECT_FALSE(document().flashMessage());
    EXPECT_FALSE(fs::exists(dir / "none.png"));
}

TEST_F(DocumentModelCaptureTest, copiedImageIsThePNGOfTheView) {
    present(groupedModel());
    fakeSnapshots(patternImage(10, 7));
    document().copyImage();
    ASSERT_EQ(workspace.copied.size(), 1u);
    writeBytes(dir / "copied.png",
               std::string(workspace.copied[0].begin(), workspace.copied[0].end()));
    auto decoded = viewport::PNGFile::read(dir / "copied.png");
    ASSERT_TRUE(decoded);
    EXPECT_EQ(decoded->pixels, patternImage(10, 7).pixels);
    EXPECT_EQ(document().flashMessage(), "Image copied to clipboard");

    ScopedLanguage french(AppLanguage::fr);
    document().copyImage();
    EXPECT_EQ(document().flashMessage(), "Image copiée dans le presse-papiers");
}

TEST_F(DocumentModelCaptureTest, failedWriteShowsTheErrorAndKeepsTheOldFile) {
    present(groupedModel());
    fakeSnapshots(patternImage(64, 64));
    auto exportTo = [&](const fs::path& path) {
        workspace.errors.clear();
        workspace.panelAnswer = path;
        document().exportImage();
    };

    exportTo(dir / "missing" / "view.png");
    ASSERT_EQ(workspace.errors.size(), 1u);
    EXPECT_NE(workspace.errors[0].find("The file “view.png” couldn’t be saved"), std::string::npos)
        << workspace.errors[0];
    EXPECT_NE(workspace.errors[0].find((dir / "missing").string()), std::string::npos);
    EXPECT_FALSE(fs::exists(dir / "missing"));

    writeBytes(dir / "plain", "a file, not a folder");
    exportTo(dir / "plain" / "view.png");
    EXPECT_EQ(workspace.errors.size(), 1u);

    // The disk fills while the new picture is written over an older one.
    writeBytes(dir / "old.png", "the older export");
    auto oldHandler = std::signal(SIGXFSZ, SIG_IGN);
    rlimit limit{};
    ::getrlimit(RLIMIT_FSIZE, &limit);
    rlimit small = limit;
    small.rlim_cur = 32;
    ::setrlimit(RLIMIT_FSIZE, &small);
    exportTo(dir / "old.png");
    ::setrlimit(RLIMIT_FSIZE, &limit);
    std::signal(SIGXFSZ, oldHandler);
    EXPECT_EQ(workspace.errors.size(), 1u);
    EXPECT_EQ(readBytes(dir / "old.png"), Bytes(std::string_view("the older export").begin(),
                                                std::string_view("the older export").end()));
    for (const auto& entry : fs::directory_iterator(dir.path()))
        EXPECT_TRUE(entry.path().filename() == "old.png" || entry.path().filename() == "plain" ||
                    entry.path().filename() == "settings.json")
            << "left behind: " << entry.path();

    if (::geteuid() != 0) {
        fs::create_directories(dir / "locked");
        writeBytes(dir / "locked" / "old.png", "kept");
        fs::permissions(dir / "locked", fs::perms::owner_read | fs::perms::owner_exec);
        exportTo(dir / "locked" / "old.png");
        fs::permissions(dir / "locked", fs::perms::owner_all);
        EXPECT_EQ(workspace.errors.size(), 1u);
        EXPECT_EQ(readBytes(dir / "locked" / "old.png"), Bytes({'k', 'e', 'p', 't'}));
    }
    EXPECT_FALSE(document().flashMessage());

    ScopedLanguage french(AppLanguage::fr);
    exportTo(dir / "missing" / "vue.png");
    ASSERT_EQ(workspace.errors.size(), 1u);
    EXPECT_EQ(workspace.errors[0].rfind("Le fichier « vue.png » n’a pas pu être enregistré", 0), 0u)
        << workspace.errors[0];
}

TEST_F(DocumentModelCaptureTest, newerFlashKeepsItsFullTimeAndTheOlderTimerLeavesIt) {
    document().flash("first");
    scheduler.advanceTo(1.5);
    document().flash("second");
    scheduler.advanceTo(2.0);
    EXPECT_EQ(document().flashMessage(), "second");
    scheduler.advanceTo(3.4);
    EXPECT_EQ(document().flashMessage(), "second");
    scheduler.advanceTo(3.5);
    EXPECT_FALSE(document().flashMessage());

    // The same text twice: the first timer ends it.
    document().flash("again");
    scheduler.advanceTo(5.0);
    document().flash("again");
    scheduler.advanceTo(5.5);
    EXPECT_FALSE(document().flashMessage());
    EXPECT_EQ(scheduler.delays, std::vector<double>(4, 2.0));

    // The timer holds the model weakly: it may fire after the document closed.
    document().flash("closing");
    model.reset();
    scheduler.advanceTo(100);
}

// The real desktop: the applications of a file come from .desktop entries in the XDG folders,
// and the one found is started on the file.
TEST_F(DocumentModelCaptureTest, sketchUpAppIsFoundThroughDesktopEntriesAndOpensTheFile) {
    app::Workspace::setCurrent(nullptr);
    ScopedEnv home("HOME", dir.path().c_str());
    ScopedEnv configHome("XDG_CONFIG_HOME", (dir / "config").c_str());
    ScopedEnv configDirs("XDG_CONFIG_DIRS", (dir / "etc").c_str());
    ScopedEnv dataHome("XDG_DATA_HOME", (dir / "data").c_str());
    ScopedEnv dataDirs("XDG_DATA_DIRS", (dir / "share").c_str());
    const fs::path file = dir / "Maison v2.skp";
    writeBytes(file, "not really a model");

    document().setInfo(infoAt(file));
    EXPECT_FALSE(document().sketchUpApp()) << "no SketchUp on a machine without it";

    // Every file type derives from this one, whatever the machine's MIME database says.
    const std::string type = "application/octet-stream";
    const fs::path applications = dir / "data" / "applications";
    fs::create_directories(applications);
    const fs::path script = dir / "open-with.sh";
    writeBytes(script, "#!/bin/sh\nprintf '%s' \"$1\" > \"$1.opened\"\n");
    fs::permissions(script, fs::perms::owner_all);
    writeBytes(applications / "viewer.desktop",
               "[Desktop Entry]\nType=Application\nName=Other Viewer\nExec=true %f\n"
               "MimeType=" +
                   type + ";\n");
    const fs::path sketchUpEntry = applications / "com.sketchup.SketchUp2024.desktop";
    writeBytes(sketchUpEntry, "[Desktop Entry]\nType=Application\nName=SketchUp 2024\nExec=\"" +
                                  script.string() + "\" %f\nMimeType=" + type + ";\n");
    fs::create_directories(dir / "config");
    writeBytes(dir / "config" / "mimeapps.list",
               "[Default Applications]\n" + type + "=viewer.desktop\n");
    document().setInfo(infoAt(file));
    EXPECT_EQ(document().sketchUpApp(), sketchUpEntry);

    document().openInSketchUp();
    const fs::path marker = file.string() + ".opened";
    for (int i = 0; i < 100 && !fs::exists(marker); ++i)
        std::this_thread::sleep_for(std::chrono::milliseconds(50));
    std::this_thread::sleep_for(std::chrono::milliseconds(50));
    const std::string path = file.string();
    EXPECT_EQ(readBytes(marker), Bytes(path.begin(), path.end()));
}

TEST_F(DocumentModelCaptureTest, sketchUpAppCarryingTheLibraryInUseComesFirst) {
    workspace.applications = {{"SketchUp Viewer", "/apps/viewer.desktop"}};
    const fs::path app = dir / "opt" / "SketchUp 2023.app";
    const fs::path framework = app / "Contents/Frameworks/SketchUpAPI.framework";
    fs::create_directories(framework);
    writeBytes(framework / "SketchUpAPI", "");
    {
        ScopedEnv sdkInApp("VISTREL_SKETCHUP_SDK", framework.c_str());
        document().setInfo(infoAt("/plans/house.skp"));
        EXPECT_EQ(document().sketchUpApp(), app);
    }
    // A library outside any application says nothing of one.
    const fs::path loose = dir / "sdk" / "SketchUpAPI.framework";
    fs::create_directories(loose);
    writeBytes(loose / "SketchUpAPI", "");
    ScopedEnv sdkLoose("VISTREL_SKETCHUP_SDK", loose.c_str());
    document().setInfo(infoAt("/plans/house.skp"));
    EXPECT_EQ(document().sketchUpApp(), fs::path("/apps/viewer.desktop"));
}

TEST_F(DocumentModelCaptureTest, desktopClipboardHoldsThePNGBytesAndAnImage) {
    auto png = app::pngBytes(patternImage(6, 5));
    ASSERT_TRUE(png);
    app::DesktopWorkspace().copyPNG(*png);
    const QMimeData* data = QGuiApplication::clipboard()->mimeData();
    ASSERT_TRUE(data);
    const QByteArray bytes = data->data("image/png");
    EXPECT_EQ(Bytes(bytes.begin(), bytes.end()), *png);
    ASSERT_TRUE(data->hasImage());
    EXPECT_EQ(qvariant_cast<QImage>(data->imageData()).size(), QSize(6, 5));
}

}  // namespace
}  // namespace vistrel::test

// Documents from path to presented scene without a display: header, load on a worker, hand-over,
// cancellation, failures and the controller's rules. Loaders are real or held back by the test.
#include <gtest/gtest.h>

#include <QCoreApplication>
#include <QMimeData>
#include <QPointer>
#include <QRegularExpression>
#include <QUrl>

#include <algorithm>
#include <atomic>
#include <fstream>

#include "DXFPlanGenerator.h"
#include "DocumentModelFixture.h"
#include "EventLoop.h"
#include "ScopedLanguage.h"
#include "documents/DocumentController.h"
#include "documents/SKPDocument.h"
#include "model/SKPError.h"
#include "ui/DocumentWindow.h"
#include "ui/LoadingOverlay.h"

using namespace vistrel;
using namespace vistrel::app;
namespace fs = std::filesystem;

namespace {

using test::waitUntil;

// A door the loader waits at until the test opens it.
struct Gate {
    std::atomic<bool> open = false, reached = false;
    void arrive() {
        reached = true;
        open.wait(false);
    }
    void release() {
        open = true;
        open.notify_all();
    }
    ~Gate() {  // a loader never outlives the gate it waits at
        release();
        SKPDocument::waitForLoads();
    }
};

bool isReady(const DocumentModel& m) {
    return std::holds_alternative<DocumentModel::Ready>(m.state());
}
bool isFailed(const DocumentModel& m) {
    return std::holds_alternative<DocumentModel::Failed>(m.state());
}

class DocumentLifecycleTest : public test::DocumentModelTest {
  protected:
    void SetUp() override {
        DocumentModelTest::SetUp();
        tools::writeDXFPlan(dxf, 200'000);
    }
    void TearDown() override {
        SKPDocument::waitForLoads();
        QCoreApplication::processEvents();
        DocumentModelTest::TearDown();
    }
    // A document on `dxf` whose loader reports, waits at `gate`, then returns `result`; its
    // progress callback goes to `keep`, for reports after the end.
    SKPDocument* heldDocument(Gate& gate, std::function<SKPModel()> result = &SyntheticModel::cube,
                              SKPReader::ProgressCallback* keep = nullptr) {
        auto* document = new SKPDocument;
        document->read(dxf);
        document->loader = [&gate, result, keep](const fs::path&,
                                                 const SKPReader::ProgressCallback& progress,
                                                 const SKPReader::CancelCheck&) {
            if (keep) *keep = progress;
            progress({"Lecture", 10, 0.1});
            gate.arrive();
            return result();
        };
        return document;
    }

    test::ScopedLanguage english{AppLanguage::en};
    fs::path dxf = dir / "plan.dxf", textures = dir / "textures";
    SKPReader::ProgressCallback lateProgress;
};

}  // namespace

TEST_F(DocumentLifecycleTest, aDrawingShowsItsHeaderThenLoadsToReadyOnceAndStaysUntouched) {
    const auto sizeBefore = fs::file_size(dxf);
    const auto timeBefore = fs::last_write_time(dxf);  // the source file is never written
    SKPDocument document;
    document.read(dxf);
    DocumentModel& m = document.model();
    ASSERT_TRUE(m.info() && m.info()->isCAD());
    EXPECT_FALSE(std::get<DocumentModel::Loading>(m.state()).progress);
    std::atomic<int> loads = 0;
    auto real = document.loader;
    document.loader = [&](const fs::path& url, const SKPReader::ProgressCallback& p,
                          const SKPReader::CancelCheck& c) {
        ++loads;
        return real(url, p, c);
    };
    int progressReports = 0;
    QObject::connect(&m, &DocumentModel::stateChanged, [&] {
        auto* loading = std::get_if<DocumentModel::Loading>(&m.state());
        progressReports += loading && loading->progress;
    });
    document.showWindows();
    document.showWindows();
    ASSERT_TRUE(waitUntil([&] { return isReady(m); })) << m.statusText();
    EXPECT_TRUE(loads == 1 && progressReports > 0 && m.loadSeconds().value_or(0) > 0);
    EXPECT_TRUE(m.skp()->stats.edges > 0 && m.viewport().viewportScene());
    EXPECT_TRUE(fs::file_size(dxf) == sizeBefore && fs::last_write_time(dxf) == timeBefore);
}

TEST_F(DocumentLifecycleTest, closingDuringTheLoadPresentsNothingAndRemovesTheTextures) {
    // Closed while the reader runs, or after assembly with the finish queued but not yet run.
    for (bool whileReading : {true, false}) {
        SCOPED_TRACE(whileReading);
        fs::create_directories(textures);
        std::ofstream(textures / "wood.png") << "png";
        Gate gate;
        if (!whileReading) gate.release();
        QPointer<SKPDocument> document = heldDocument(gate, [this] {
            SKPModel m = SyntheticModel::cube();
            m.textureDirectory = textures;
            return m;
        });
        bool sawReady = false;
        QObject::connect(&document->model(), &DocumentModel::stateChanged,
                         [&] { sawReady |= isReady(document->model()); });
        document->showWindows();
        if (whileReading) {
            ASSERT_TRUE(waitUntil([&] { return gate.reached.load(); }));
        } else {
            SKPDocument::waitForLoads();  // the event loop has not run the finish yet
            EXPECT_TRUE(fs::exists(textures));
        }
        document->close();
        gate.release();
        SKPDocument::waitForLoads();
        EXPECT_TRUE(waitUntil([&] { return document.isNull(); })) << "a closed document is deleted";
        EXPECT_FALSE(sawReady || fs::exists(textures));
    }
}

// A reader fault other than SKPError or bad_alloc used to escape the worker and end the process.
TEST_F(DocumentLifecycleTest, anyReaderFaultShowsTheFailureAndKeepsTheHeader) {
    const std::function<void()> faults[] = {
        [this] { throw SKPError::unreadable(dxf); },
        [] { throw std::runtime_error("odd bytes"); },
        [] { (void)std::vector<int>().at(3); },
        [] { throw 42; },
    };
    for (const auto& fault : faults) {
        Gate gate;
        gate.release();
        std::unique_ptr<SKPDocument> document(heldDocument(
            gate,
            [&fault]() -> SKPModel {
                fault();
                return SyntheticModel::cube();
            },
            &lateProgress));
        document->showWindows();
        ASSERT_TRUE(waitUntil([&] { return isFailed(document->model()); }));
        EXPECT_TRUE(document->model().statusText() == "Unreadable file: plan.dxf" &&
                    document->model().info())
            << "the header stays";
        SKPDocument::waitForLoads();
        lateProgress({"Lecture", 1, 0.5});
        QCoreApplication::processEvents();
        EXPECT_TRUE(isFailed(document->model())) << "a report after the end is dropped";
    }
}

TEST_F(DocumentLifecycleTest, controllerAcceptsTheThreeTypesInAnyCaseAndOpensAFileOnce) {
    for (auto [name, type] : {std::pair{"/x/A.SKP", "com.sketchup.skp"},
                              {"plan.Dwg", "com.autodesk.dwg"},
                              {"plan.dxf", "com.autodesk.dxf"}})
        EXPECT_EQ(DocumentController::typeForContents(name), type);
    std::string error;
    EXPECT_FALSE(DocumentController::typeForContents("notes.txt", &error));
    EXPECT_NE(error.find("notes.txt"), std::string::npos);

    // The open panel used to offer only all-lower and all-upper names, and Qt matches its
    // filter case-sensitively on Linux.
    const QString filter = DocumentController::panelNameFilter();
    const QStringList patterns = filter.mid(filter.indexOf('(') + 1).chopped(1).split(' ');
    auto offered = [&](const QString& name) {
        return std::ranges::any_of(patterns, [&](const QString& p) {
            return QRegularExpression::fromWildcard(p, Qt::CaseSensitive).match(name).hasMatch();
        });
    };
    for (const char* name : {"a.skp", "A.SKP", "Maison.Skp", "plan.DwG", "plan.dXf", "b.dwg"})
        EXPECT_TRUE(offered(name)) << name << " in " << filter.toStdString();
    for (const char* name : {"a.skpx", "plan.dwg.bak", "photo.png", "skp"})
        EXPECT_FALSE(offered(name)) << name;

    DocumentController controller;
    std::optional<std::string> failure;
    SKPDocument* opened = nullptr;
    auto completion = [&](SKPDocument* d, const std::optional<std::string>& e) {
        opened = d;
        failure = e;
    };
    controller.openDocument(dir / "missing.dxf", false, completion);
    EXPECT_TRUE(!opened && controller.documents().empty());
    EXPECT_NE(failure.value_or("").find("missing.dxf"), std::string::npos);
    controller.openDocument(dxf, false, completion);
    SKPDocument* first = opened;
    ASSERT_TRUE(first && !failure);
    controller.openDocument(dir / "." / "plan.dxf", false, completion);
    EXPECT_EQ(opened, first) << "the same file is not opened twice";
    EXPECT_EQ(controller.documents().size(), 1u);
    first->close();
    EXPECT_TRUE(controller.documents().empty());
}

TEST_F(DocumentLifecycleTest, documentsLoadSideBySideAndMenuCommandsFollowTheirState) {
    using Action = SKPDocument::Action;
    Gate gate, other;
    std::unique_ptr<SKPDocument> document(heldDocument(gate)), second(heldDocument(other));
    document->showWindows();
    second->showWindows();
    // Both loaders are inside their reader at once: neither waits for the other.
    ASSERT_TRUE(waitUntil([&] { return gate.reached.load() && other.reached.load(); }));
    EXPECT_FALSE(document->validate(Action::toggleEdges)) << "not while loading";
    EXPECT_TRUE(document->validate(Action::revealInFinder));
    EXPECT_TRUE(document->isHidden(Action::openInSketchUp)) << "no SketchUp on this machine";
    gate.release();
    other.release();
    ASSERT_TRUE(waitUntil([&] { return isReady(document->model()) && isReady(second->model()); }));

    EXPECT_TRUE(document->validate(Action::nextScene)) << "the cube has one scene";
    EXPECT_FALSE(document->validate(Action::resetView, 0, true)) << "Z types in a text field";
    document->perform(Action::selectShadingStyle, 3);
    document->perform(Action::selectShadingStyle, 9);  // out of range: ignored
    EXPECT_TRUE(document->isChecked(Action::selectShadingStyle, 3));
    document->perform(Action::toggleLightingMode);
    EXPECT_FALSE(document->validate(Action::toggleShadows)) << "shadows belong to the sun";
    document->perform(Action::toggleFreeFlight);
    EXPECT_FALSE(document->validate(Action::zoomExtents)) << "no zoom extents in free fly";
}

TEST_F(DocumentLifecycleTest, theWindowShowsProgressThenTheFailureAndTakesDroppedFiles) {
    // The offscreen platform has no GL: the window stands without its live view.
    DocumentController controller;
    Gate gate;
    std::unique_ptr<SKPDocument> document(
        heldDocument(gate, []() -> SKPModel { throw SKPError::api("SUModelCreateFromFile", 7); }));
    document->makeWindowControllers();
    auto* window = qobject_cast<DocumentWindow*>(document->window());
    ASSERT_NE(window, nullptr);
    EXPECT_EQ(window->windowTitle(), "plan.dxf");
    document->showWindows();
    ASSERT_TRUE(waitUntil([&] { return window->overlay().detail() == "Lecture"; }));
    EXPECT_TRUE(window->overlay().showsProgress());
    gate.release();
    ASSERT_TRUE(waitUntil([&] { return isFailed(document->model()); }));
    EXPECT_EQ(window->overlay().detail(), "SketchUp API error (SUModelCreateFromFile → 7).");
    EXPECT_TRUE(window->overlay().isVisibleTo(window) &&
                window->statusLine() == window->overlay().detail());
    EXPECT_FALSE(window->overlay().showsProgress() || window->overlay().offersOpenInSketchUp());

    const auto other = dir / "other.dxf";
    fs::copy_file(dxf, other);
    QMimeData links, files;
    links.setUrls({QUrl("https://example.com/plan.dxf")});
    EXPECT_FALSE(window->openDropped(&links)) << "web links do not open";
    files.setUrls({QUrl("https://example.com/plan.dxf"),
                   QUrl::fromLocalFile(QString::fromStdString(other.string()))});
    EXPECT_TRUE(window->openDropped(&files));
    ASSERT_EQ(controller.documents().size(), 1u);
    EXPECT_EQ(controller.documents()[0]->fileURL(), other);
    controller.closeAll();
}

// The window on a display (Xvfb in CI), or skipped: a corpus drawing opened through the
// controller, drawn, changed through the menus and the sidebar, and closed; the window's
// loading, failed and loaded states as pictures; the toolbar bound both ways to the model; the
// menus' keys on a real window.
#include <gtest/gtest.h>

#include <QAction>
#include <QApplication>
#include <QCoreApplication>
#include <QGuiApplication>
#include <QLineEdit>
#include <QMenu>
#include <QMenuBar>
#include <QPointer>
#include <QPushButton>
#include <QTest>
#include <QToolButton>

#include <atomic>
#include <thread>

#include "DocumentModelFixture.h"
#include "EventLoop.h"
#include "ImageCompare.h"
#include "ScopedLanguage.h"
#include "documents/DocumentController.h"
#include "documents/SKPDocument.h"
#include "model/SKPError.h"
#include "ui/ContentView.h"
#include "ui/DocumentWindow.h"
#include "ui/LoadingOverlay.h"
#include "ui/ShortcutText.h"
#include "ui/ViewportWidget.h"
#include "ui/popovers/CameraPopover.h"
#include "ui/popovers/LightingPopover.h"
#include "ui/sidebar/LayersSection.h"
#include "ui/sidebar/Sidebar.h"
#include "ui/toolbar/TopBar.h"
#include "ui/windows/HelpWindowController.h"
#include "ui/windows/SettingsWindowController.h"
#include "ui/windows/ShortcutsWindowController.h"

using namespace vistrel;
using namespace vistrel::app;

namespace {

using test::waitUntil;

void idle(double seconds) {
    waitUntil([] { return false; }, seconds);
}

// Pixels of the picture's middle area that differ clearly from the same rows' left edge: the
// backdrop is a vertical gradient, so anything drawn stands out against its row's border.
int drawnPixels(const QImage& image) {
    int count = 0;
    for (int y = image.height() / 8; y < image.height() * 7 / 8; ++y)
        for (int x = image.width() / 8; x < image.width() * 7 / 8; ++x) {
            const QRgb c = image.pixel(x, y), b = image.pixel(2, y);
            const int d = std::abs(qRed(c) - qRed(b)) + std::abs(qGreen(c) - qGreen(b)) +
                          std::abs(qBlue(c) - qBlue(b));
            count += d > 60;
        }
    return count;
}

template <class Control>
Control* named(QWidget& parent, const QString& text) {
    for (Control* control : parent.findChildren<Control*>())
        if (control->text() == text) return control;
    return nullptr;
}

// A loader that reports a phase, waits until released, then gives its model or throws.
struct HeldLoader {
    std::atomic<bool> open = false;
    std::function<SKPModel()> result;
    SKPModel operator()(const std::filesystem::path&, const SKPReader::ProgressCallback& progress,
                        const SKPReader::CancelCheck& cancelled) {
        progress({L("Lecture des entités…", "Reading entities…"), 1234, 0.42});
        while (!open && !cancelled()) std::this_thread::sleep_for(std::chrono::milliseconds(5));
        if (cancelled()) throw SKPError::cancelled();
        return result();
    }
};

::testing::AssertionResult looksLike(QWidget& window, const std::string& baseline) {
    const QImage grabbed = window.grab().toImage().convertToFormat(QImage::Format_RGBA8888);
    viewport::Image image{grabbed.width(), grabbed.height(), false, {}};
    image.pixels.assign(grabbed.constBits(), grabbed.constBits() + grabbed.sizeInBytes());
    // Software GL may round an edge's pixels differently from one CPU to another.
    return test::matchesBaseline(image, baseline, 6, 0.004);
}

class DocumentWindowTest : public test::DocumentModelTest {
  protected:
    void SetUp() override {
        if (QGuiApplication::platformName() != "xcb")
            GTEST_SKIP() << "needs a display (run under xvfb-run)";
        DocumentModelTest::SetUp();
    }
    void TearDown() override {
        SKPDocument::waitForLoads();
        QCoreApplication::processEvents();
        DocumentModelTest::TearDown();
    }
    // A window on the cube's header (thumbnail and version) whose load waits for `loader`.
    DocumentWindow* held(const std::shared_ptr<HeldLoader>& loader) {
        const auto corpus = test::corpusDir();
        if (!corpus) return nullptr;
        auto* document = new SKPDocument;
        document->read(*corpus / "skp" / "testup2__Cube.skp");
        document->loader = [loader](const auto& url, const auto& progress, const auto& cancel) {
            return (*loader)(url, progress, cancel);
        };
        document->makeWindowControllers();
        auto* window = qobject_cast<DocumentWindow*>(document->window());
        window->resize(1180, 720);
        document->showWindows();
        return window;
    }

    test::ScopedLanguage english{AppLanguage::en};
};

TEST_F(DocumentWindowTest, aCorpusDrawingOpensIsDrawnAnswersCommandsAndCloses) {
    const auto corpus = test::corpusDir();
    if (!corpus) GTEST_SKIP() << "corpus absent";
    const std::string name = "bnortierdxf__Ceco.NET-Architecture-Tm-53";
    const auto file = *corpus / "dxf" / (name + ".dxf");

    DocumentController controller;
    SKPDocument* document = nullptr;
    controller.openDocument(file, true, [&](SKPDocument* d, const std::optional<std::string>& e) {
        ASSERT_FALSE(e) << *e;
        document = d;
    });
    auto* window = document ? qobject_cast<DocumentWindow*>(document->window()) : nullptr;
    ASSERT_TRUE(window && window->isVisible());
    EXPECT_EQ(window->windowTitle().toStdString(), name + ".dxf");
    DocumentModel& m = document->model();
    ASSERT_TRUE(waitUntil([&] { return m.isReady(); }, 20)) << m.statusText();
    EXPECT_TRUE(!window->overlay().isVisible() && window->statusLine().contains("faces"));
    idle(0.5);

    ASSERT_NE(window->viewport(), nullptr);
    ViewportWidget& view = *window->viewport();
    const int drawn = drawnPixels(view.grabFramebuffer());
    EXPECT_GT(drawn, 500) << "the drawing's lines are on screen";

    // Styles through the menu.
    QAction* wireframe = named<QAction>(*window, "Style: Wireframe");
    ASSERT_TRUE(wireframe && wireframe->isEnabled());
    wireframe->trigger();
    EXPECT_EQ(m.shadingStyle(), viewport::ShadingStyle::wireframe);
    idle(0.2);
    EXPECT_TRUE(wireframe->isChecked());

    TopBar& bar = window->content().topBar();
    EXPECT_FALSE(bar.showsScenes()) << "a drawing without scenes has no scene group";
    QToolButton* sketchUp = bar.button(shortcutText("Open model in SketchUp (⇧⌘O)"));
    EXPECT_TRUE(!sketchUp || !sketchUp->isVisible()) << "no SketchUp on this machine";

    // Hiding every layer leaves only the backdrop.
    window->sidebar().layers().button("hideAllLayers").click();
    idle(0.3);
    EXPECT_LT(drawnPixels(view.grabFramebuffer()), drawn / 20)
        << "hidden layers are gone from the screen";

    QPointer<DocumentWindow> closing = window;
    window->close();
    EXPECT_TRUE(controller.documents().empty());
    EXPECT_TRUE(waitUntil([&] { return closing.isNull(); }, 5));
}

TEST_F(DocumentWindowTest, loadingFailedAndLoadedWindowsLookRightAndTheToolbarFollowsTheModel) {
    if (!test::corpusDir()) GTEST_SKIP() << "corpus absent";
    {
        auto loader = std::make_shared<HeldLoader>();
        loader->result = []() -> SKPModel { throw SKPError::unreadable("/tmp/testup2__Cube.skp"); };
        loader->open = true;
        DocumentWindow* failed = held(loader);
        DocumentModel& m = failed->content().model();
        ASSERT_TRUE(
            waitUntil([&] { return std::holds_alternative<DocumentModel::Failed>(m.state()); }, 5));
        idle(0.2);
        EXPECT_TRUE(looksLike(*failed, "window_failed_en")) << "thumbnail and version kept";
        failed->close();
    }

    auto loader = std::make_shared<HeldLoader>();
    loader->result = [] { return test::groupedModel(test::threeScenes()); };
    loader->open = true;
    DocumentWindow* window = held(loader);
    DocumentModel& m = window->content().model();
    ASSERT_TRUE(waitUntil([&] { return m.isReady(); }, 10));
    TopBar& bar = window->content().topBar();
    idle(0.5);
    EXPECT_TRUE(looksLike(*window, "window_loaded_en"));

    // Clicks on the bar reach the model.
    ASSERT_TRUE(bar.showsScenes());
    QTest::mouseClick(bar.button(shortcutText("Next scene (⌘] · ⇧-click: 10× slower transition)")),
                      Qt::LeftButton);
    EXPECT_EQ(m.selectedScene(), 0);
    QTest::mouseClick(bar.button("Wireframe style (edges only)"), Qt::LeftButton);
    EXPECT_EQ(m.shadingStyle(), viewport::ShadingStyle::wireframe);
    // A change from elsewhere moves the bar.
    QToolButton* grid = bar.button(shortcutText("Show or hide ground grid and XYZ axes (⌥⌘G)"));
    ASSERT_NE(grid, nullptr);
    const bool gridShown = grid->isChecked();
    m.toggleGrid();
    m.selectScene(2);
    idle(0.1);
    EXPECT_NE(grid->isChecked(), gridShown);
    EXPECT_EQ(bar.findChild<QToolButton*>("ScenePicker")->text(), "Tout");
    // The popovers open under their buttons.
    QToolButton* camera = bar.button(
        "Fine camera settings: field of view (FOV / focal length mm), XYZ position, orientation "
        "and exposure");
    ASSERT_NE(camera, nullptr);
    QTest::mouseClick(camera, Qt::LeftButton);
    ASSERT_TRUE(bar.cameraPopover() && bar.cameraPopover()->isVisible());
    EXPECT_GE(bar.cameraPopover()->y(), camera->mapToGlobal(QPoint(0, camera->height())).y());
    bar.cameraPopover()->close();
    QTest::mouseClick(
        bar.button("Lighting settings (Sun / Point), SSAO strength and background color"),
        Qt::LeftButton);
    ASSERT_TRUE(bar.lightingPopover() && bar.lightingPopover()->isVisible());
    bar.lightingPopover()->close();
    window->close();

    // Last: the language of a scope does not come back after a nested one.
    {
        test::ScopedLanguage french(AppLanguage::fr);
        auto loader = std::make_shared<HeldLoader>();
        DocumentWindow* loading = held(loader);
        ASSERT_TRUE(waitUntil(
            [&] {
                return loading->overlay().showsProgress() &&
                       loading->overlay().detail() == "Lecture des entités…";
            },
            5));
        idle(0.2);
        EXPECT_TRUE(looksLike(*loading, "window_loading_fr"));
        QPushButton* cancel = named<QPushButton>(loading->overlay(), "Annuler");
        ASSERT_NE(cancel, nullptr);
        QPointer<DocumentWindow> closing = loading;
        cancel->click();
        EXPECT_TRUE(waitUntil([&] { return closing.isNull(); }, 5)) << "cancel closes the document";
    }
}

TEST_F(DocumentWindowTest, menuKeysActOnTheWindowAndPlainKeysLeaveATextFieldAlone) {
    auto* document = new SKPDocument;
    document->model().present(
        std::make_shared<viewport::ViewportScene>(test::groupedModel(test::threeScenes())), 0.5);
    document->makeWindowControllers();
    auto* window = qobject_cast<DocumentWindow*>(document->window());
    window->show();
    window->activateWindow();
    ASSERT_TRUE(waitUntil([&] { return QApplication::activeWindow() == window; }, 5));
    DocumentModel& m = document->model();
    idle(0.1);

    const bool edges = m.showsEdges();
    QTest::keyClick(window, Qt::Key_E, Qt::ControlModifier);
    EXPECT_NE(m.showsEdges(), edges);
    QTest::keyClick(window, Qt::Key_BracketRight, Qt::ControlModifier);
    EXPECT_TRUE(m.selectedScene().has_value());
    QTest::keyClick(window, Qt::Key_7, Qt::ControlModifier);
    EXPECT_EQ(m.activeStandardView(), viewport::StandardView::bottom);

    // In the layer filter the letters are text, not the view's keys.
    if (!m.showSidebar()) m.toggleSidebar();
    QLineEdit* field = &window->sidebar().layers().filterField();
    idle(0.4);  // the sidebar slides open
    field->setFocus();
    ASSERT_TRUE(waitUntil([&] { return field->hasFocus(); }, 2));
    idle(0.05);
    QTest::keyClick(field, 'z');
    QTest::keyClick(field, 'Z', Qt::ShiftModifier);
    EXPECT_EQ(field->text(), "zZ");
    EXPECT_EQ(m.activeStandardView(), viewport::StandardView::bottom);
    window->content().setFocus();
    idle(0.05);
    QTest::keyClick(window, Qt::Key_Z);
    EXPECT_EQ(m.activeStandardView(), std::nullopt) << "Z resets the view";

    QTest::keyClick(window, Qt::Key_Slash, Qt::ControlModifier);
    QTest::keyClick(window, Qt::Key_Comma, Qt::ControlModifier);
    QTest::keyClick(window, Qt::Key_Question, Qt::ControlModifier);
    // Each window, on the display, is its view as the headless pictures show it.
    const std::pair<QWidget*, std::string> shown[] = {
        {ShortcutsWindowController::shared().window(), "window_shortcuts_en"},
        {SettingsWindowController::shared().window(), "window_settings_en"},
        {HelpWindowController::shared().window(), "window_help_en"}};
    idle(0.3);
    for (const auto& [shownWindow, baseline] : shown) {
        ASSERT_NE(shownWindow, nullptr);
        EXPECT_TRUE(shownWindow->isVisible());
        EXPECT_TRUE(looksLike(*shownWindow, baseline));
        shownWindow->close();
    }
    QPointer<DocumentWindow> closing = window;
    window->activateWindow();
    ASSERT_TRUE(waitUntil([&] { return QApplication::activeWindow() == window; }, 5));
    QTest::keyClick(window, Qt::Key_W, Qt::ControlModifier);
    EXPECT_TRUE(waitUntil([&] { return closing.isNull(); }, 5)) << "Ctrl+W closes the document";
}

}  // namespace

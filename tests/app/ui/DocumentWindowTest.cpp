// The window on a display (Xvfb in CI), or skipped: a corpus drawing opened through the
// controller, drawn, changed through the menus and the sidebar, and closed.
#include <gtest/gtest.h>

#include <QAction>
#include <QCoreApplication>
#include <QGuiApplication>
#include <QMenuBar>
#include <QPointer>
#include <QToolButton>

#include "DocumentModelFixture.h"
#include "EventLoop.h"
#include "ScopedLanguage.h"
#include "documents/DocumentController.h"
#include "documents/SKPDocument.h"
#include "ui/DocumentWindow.h"
#include "ui/LoadingOverlay.h"
#include "ui/ViewportWidget.h"
#include "ui/sidebar/LayersSection.h"
#include "ui/sidebar/Sidebar.h"

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
    QAction* wireframe = named<QAction>(*window->findChild<QMenuBar*>(), "Style: Wireframe");
    ASSERT_TRUE(wireframe && wireframe->isEnabled());
    wireframe->trigger();
    EXPECT_EQ(m.shadingStyle(), viewport::ShadingStyle::wireframe);
    idle(0.2);
    EXPECT_TRUE(wireframe->isChecked());

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

}  // namespace

// Test main for suites that need a Qt GUI application: clipboard, images, widgets, event loop.
// Without a display the offscreen platform stands in, so the suites run on any machine.
#include <gtest/gtest.h>

#include <QApplication>
#include <cstdlib>

#include "ui/Theme.h"
#include "ui/ViewportWidget.h"

int main(int argc, char** argv) {
    testing::InitGoogleTest(&argc, argv);
    const char* display = std::getenv("DISPLAY");
    if (!std::getenv("QT_QPA_PLATFORM") && !(display && *display))
        ::setenv("QT_QPA_PLATFORM", "offscreen", 1);
    // As the program does: the GL format of the live view is fixed before the application.
    vistrel::app::ViewportWidget::configureDefaultSurfaceFormat();
    QApplication application(argc, argv);
    application.setQuitOnLastWindowClosed(false);
    vistrel::app::Theme::apply(application);  // widgets look as in the program
    return RUN_ALL_TESTS();
}

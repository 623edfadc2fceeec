#include "Application.h"

#include <QApplication>
#include <cstdio>
#include <cstdlib>

#include "LaunchOptions.h"
#include "Localization.h"
#include "Preferences.h"
#include "SyntheticModel.h"
#include "ViewportWidget.h"

namespace vistrel::app {

namespace {

// With no display to talk to, Qt still starts on its offscreen platform, so headless
// machines get a snapshot instead of an abort.
void chooseOffscreenWithoutDisplay() {
    auto set = [](const char* name) {
        const char* v = std::getenv(name);
        return v && *v;
    };
    if (!set("DISPLAY") && !set("WAYLAND_DISPLAY") && !set("QT_QPA_PLATFORM"))
        ::setenv("QT_QPA_PLATFORM", "offscreen", 1);
}

void printModelSummary(const SKPModel& m) {
    std::printf("%s — %s: %zu %s, %zu %s, %lld %s, %lld %s, %lld %s\n",
                m.fileInfo.url.filename().c_str(), m.fileInfo.versionLabel.value_or("?").c_str(),
                m.layers.size(), L("calques", "layers").c_str(), m.layerGroups().size(),
                L("groupes", "groups").c_str(), (long long)m.stats.faces,
                L("faces", "faces").c_str(), (long long)m.stats.triangles,
                L("triangles", "triangles").c_str(), (long long)m.stats.edges,
                L("arêtes", "edges").c_str());
}

}  // namespace

int runApplication(int argc, char** argv) {
    std::vector<std::string> arguments(argv + 1, argv + argc);
    Localization::setCommandLine(arguments);
    chooseOffscreenWithoutDisplay();
    ViewportWidget::configureDefaultSurfaceFormat();
    QApplication application(argc, argv);
    application.setApplicationName("Vistrel");
    application.setOrganizationDomain("vistrel.org");
    application.setQuitOnLastWindowClosed(false);
    Preferences::registerDefaults();
    LaunchOptions options = LaunchOptions::parse(arguments);
    (void)options;
    // Until the viewer window exists, a start summarises the built-in model.
    printModelSummary(SyntheticModel::cube());
    return 0;
}

}  // namespace vistrel::app

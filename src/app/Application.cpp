#include "Application.h"

#include <QApplication>
#include <cstdio>

#include "LaunchOptions.h"
#include "Localization.h"
#include "SyntheticModel.h"

namespace vistrel::app {

int runApplication(int argc, char** argv) {
    std::vector<std::string> arguments(argv + 1, argv + argc);
    Localization::setCommandLine(arguments);
    LaunchOptions options = LaunchOptions::parse(arguments);
    QApplication application(argc, argv);
    application.setApplicationName("Vistrel");
    application.setOrganizationDomain("vistrel.org");
    application.setQuitOnLastWindowClosed(false);
    // The viewer window lands with the documents; until then summarise the built-in model.
    SKPModel model = SyntheticModel::cube();
    std::printf("%s: %zu layers, %lld faces, %lld edges\n", model.root.name.c_str(),
                model.layers.size(), (long long)model.stats.faces, (long long)model.stats.edges);
    (void)options;
    return 0;
}

}  // namespace vistrel::app

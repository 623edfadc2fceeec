#include "shell/Application.h"

#include <QAction>
#include <QApplication>
#include <QIcon>
#include <QLibraryInfo>
#include <QMenu>
#include <QSocketNotifier>
#include <QSystemTrayIcon>
#include <QTimer>
#include <QTranslator>

#include <fcntl.h>
#include <unistd.h>

#include <csignal>
#include <cstdlib>

#include "documents/DocumentController.h"
#include "documents/SKPDocument.h"
#include "headless/HeadlessRun.h"
#include "headless/SelfTest.h"
#include "headless/Snapshot.h"
#include "platform/SingleInstance.h"
#include "remote/RemoteControlServer.h"
#include "settings/Localization.h"
#include "settings/SettingsStore.h"
#include "settings/TemporaryFolder.h"
#include "shell/LaunchOptions.h"
#include "shell/Preferences.h"
#include "ui/Theme.h"
#include "ui/ViewportWidget.h"
#include "update/CoreUpdater.h"
#include "view/ViewportView.h"

namespace vistrel::app {

namespace {

// With no display to talk to, Qt still starts on its offscreen platform instead of aborting.
// The headless modes always draw offscreen: they need no display, show nothing on one, and
// draw alike everywhere.
void chooseOffscreen(const LaunchOptions& options) {
    auto set = [](const char* name) {
        const char* v = std::getenv(name);
        return v && *v;
    };
    if (!options.isNormal() ||
        (!set("DISPLAY") && !set("WAYLAND_DISPLAY") && !set("QT_QPA_PLATFORM")))
        ::setenv("QT_QPA_PLATFORM", "offscreen", 1);
}

// Texture files that earlier runs left behind when they did not end cleanly; a copy that is
// still running keeps its own.
void removeStaleTextures() {
    if (auto folder = TemporaryFolder::userFolder()) TemporaryFolder::removeAbandoned(*folder);
}

// Closing the last window leaves the process running, as a server for remote control must;
// on a desktop without a global menu bar the tray icon is how a person reaches it again.
void installTrayIcon(QApplication& application, DocumentController& controller) {
    if (!QSystemTrayIcon::isSystemTrayAvailable()) return;
    auto* tray = new QSystemTrayIcon(
        QIcon::fromTheme(SingleInstance::applicationId, QIcon::fromTheme("image-x-generic")),
        &application);
    auto* menu = new QMenu;
    QObject::connect(tray, &QObject::destroyed, menu, &QObject::deleteLater);
    QObject::connect(menu->addAction(QString::fromStdString(L("Ouvrir…", "Open…"))),
                     &QAction::triggered, &controller,
                     [&controller] { controller.openDocument(); });
    menu->addSeparator();
    QObject::connect(menu->addAction(QString::fromStdString(L("Quitter Vistrel", "Quit Vistrel"))),
                     &QAction::triggered, &application, &QCoreApplication::quit);
    tray->setContextMenu(menu);
    tray->setToolTip("Vistrel");
    tray->show();
}

// Qt's own dialogs (the open and save panels) speak the interface's language.
void installToolkitTranslation(QApplication& application) {
    if (Localization::isEnglish()) return;
    auto* translator = new QTranslator(&application);
    if (translator->load("qtbase_fr", QLibraryInfo::path(QLibraryInfo::TranslationsPath)))
        application.installTranslator(translator);
}

int signalPipe[2] = {-1, -1};

extern "C" void quitOnSignal(int) {
    // Only async-signal-safe work here: the event loop reads the byte and quits.
    const char byte = 1;
    [[maybe_unused]] auto written = ::write(signalPipe[1], &byte, 1);
}

// Ctrl-C and a plain kill end the event loop, so documents close and loads are waited for.
void quitOnTerminationSignals(QApplication& application) {
    if (::pipe2(signalPipe, O_CLOEXEC | O_NONBLOCK) != 0) return;
    auto* notifier = new QSocketNotifier(signalPipe[0], QSocketNotifier::Read, &application);
    QObject::connect(notifier, &QSocketNotifier::activated, &application, [] {
        char byte;
        while (::read(signalPipe[0], &byte, 1) > 0) {
        }
        QCoreApplication::quit();
    });
    std::signal(SIGINT, quitOnSignal);
    std::signal(SIGTERM, quitOnSignal);
}

// A launch without files while the program runs: the front document's window comes forward, or
// the open panel when there is no window; a panel already up is raised, not doubled.
void bringForward(DocumentController& controller) {
    if (QWidget* modal = QApplication::activeModalWidget()) {
        modal->raise();
        modal->activateWindow();
        return;
    }
    SKPDocument* document = controller.currentDocument();
    if (!document && !controller.documents().empty()) document = controller.documents().back();
    QWidget* window = document ? document->window() : nullptr;
    if (!window) return controller.openDocument();
    window->showNormal();
    window->raise();
    window->activateWindow();
}

}  // namespace

int runApplication(int argc, char** argv) {
    std::vector<std::string> arguments(argv + 1, argv + argc);
    Localization::setCommandLine(arguments);
    const LaunchOptions options = LaunchOptions::parse(arguments);
    chooseOffscreen(options);
    ViewportWidget::configureDefaultSurfaceFormat();
    QApplication application(argc, argv);
    application.setApplicationName("Vistrel");
    application.setOrganizationDomain("vistrel.org");
    application.setDesktopFileName(SingleInstance::applicationId);
    application.setQuitOnLastWindowClosed(false);
    Preferences::registerDefaults();
    viewport::ViewportView::twoFingerScrollZooms = Preferences::boolValue("twoFingerScrollZooms");
    Theme::apply(application);
    installToolkitTranslation(application);
    DocumentController controller;

    // The headless modes never return: they end with HeadlessRun::Exit, whose status the process
    // exits with. They run without the remote server, the tray or the open panel.
    if (!options.isNormal()) {
        try {
            if (const auto& snapshot = options.snapshotRequest)
                Snapshot::run(snapshot->output, snapshot->input, snapshot->view);
            SelfTest::runAndExit(options.selfTestFile);
        } catch (const HeadlessRun::Exit& exit) {
            // Their commands write preferences on the store's writer.
            Preferences::store().flush();
            return exit.status;
        }
    }

    // A second launch hands its files to the running one and ends before opening any port.
    const std::vector<std::string> files = filesToOpen(arguments);
    SingleInstance instance;
    if (!instance.claim() && SingleInstance::handOff(files)) return 0;
    QObject::connect(&instance, &SingleInstance::activateRequested, &controller,
                     [&controller] { bringForward(controller); });
    QObject::connect(
        &instance, &SingleInstance::openRequested, &controller,
        [&controller](const std::vector<std::string>& paths) { controller.openFiles(paths); });

    removeStaleTextures();
    CoreUpdater updater;
    Updater::setShared(&updater);
    RemoteControlServer::shared().start(std::nullopt, std::nullopt, true);
    installTrayIcon(application, controller);
    quitOnTerminationSignals(application);
    QObject::connect(&application, &QCoreApplication::aboutToQuit, &controller,
                     [&controller] { controller.closeAll(); });

    QTimer::singleShot(0, &controller, [&controller, files, &options] {
        // A plain start shows the open panel instead of an empty window; a start by the bus
        // waits for the Open or Activate that follows.
        if (files.empty() && options.startedByBus) return;
        if (files.empty())
            controller.openDocument();
        else
            controller.openFiles(files);
    });
    const int status = application.exec();
    controller.closeAll();
    Updater::setShared(nullptr);
    // Settings changed in the last moments are still on their way to the disk.
    Preferences::store().flush();
    return status;
}

}  // namespace vistrel::app

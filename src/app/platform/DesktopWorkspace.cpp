#include "platform/DesktopWorkspace.h"

#include <QApplication>
#include <QClipboard>
#include <QDBusConnection>
#include <QDBusMessage>
#include <QDBusPendingCallWatcher>
#include <QDesktopServices>
#include <QDir>
#include <QFileDialog>
#include <QFileInfo>
#include <QImage>
#include <QMessageBox>
#include <QMimeData>
#include <QMimeDatabase>
#include <QProcess>
#include <QStringList>
#include <QUrl>

#include <cstdio>

#include "platform/DesktopEntries.h"
#include "ui/KeepActiveWindow.h"

namespace vistrel::app {

namespace {

// A window can be shown: a GUI application on a platform with a screen the user sees.
bool hasVisibleGUI() {
    if (!qobject_cast<QApplication*>(QCoreApplication::instance())) return false;
    const QString platform = QGuiApplication::platformName();
    return platform != "offscreen" && platform != "minimal";
}

QString qstring(const std::filesystem::path& path) {
    return QString::fromStdString(path.string());
}

void openContainingFolder(const std::filesystem::path& file) {
    QDesktopServices::openUrl(QUrl::fromLocalFile(qstring(file.parent_path())));
}

}  // namespace

void DesktopWorkspace::copyPNG(const std::vector<std::uint8_t>& png) {
    if (!qobject_cast<QGuiApplication*>(QCoreApplication::instance())) return;
    const QByteArray bytes(reinterpret_cast<const char*>(png.data()), qsizetype(png.size()));
    auto* data = new QMimeData;
    data->setData("image/png", bytes);
    // Applications that ask for "an image" rather than PNG bytes get one too.
    data->setImageData(QImage::fromData(bytes, "PNG"));
    QGuiApplication::clipboard()->setMimeData(data);
}

std::optional<std::filesystem::path> DesktopWorkspace::runSavePanel(const SavePanel& panel) {
    if (!hasVisibleGUI()) return std::nullopt;
    const QString extension = QString::fromStdString(panel.allowedExtension);
    QString folder = lastFolder_;
    if (folder.isEmpty() || !QDir(folder).exists()) folder = QDir::homePath();
    const QString filter = extension.toUpper() + " (*." + extension + ")";
    KeepActiveWindow keep;
    QString chosen = QFileDialog::getSaveFileName(
        keep.window(), QString::fromStdString(panel.title),
        QDir(folder).filePath(QString::fromStdString(panel.suggestedName)), filter);
    if (chosen.isEmpty()) return std::nullopt;
    if (!chosen.endsWith("." + extension, Qt::CaseInsensitive)) chosen += "." + extension;
    lastFolder_ = QFileInfo(chosen).absolutePath();
    return std::filesystem::path(chosen.toStdString());
}

void DesktopWorkspace::presentError(const std::string& message) {
    if (!hasVisibleGUI()) {
        std::fprintf(stderr, "%s\n", message.c_str());
        return;
    }
    KeepActiveWindow keep;
    QMessageBox::critical(keep.window(), QGuiApplication::applicationDisplayName(),
                          QString::fromStdString(message));
}

std::vector<Workspace::Application> DesktopWorkspace::applicationsOpening(
    const std::filesystem::path& file) {
    const QMimeType type = QMimeDatabase().mimeTypeForFile(qstring(file));
    std::vector<std::string> types;
    // Without a MIME database (XDG_DATA_DIRS missing /usr/share) every file is plain bytes.
    if (type.isValid()) {
        types.push_back(type.name().toStdString());
        for (const QString& alias : type.aliases()) types.push_back(alias.toStdString());
        for (const QString& parent : type.allAncestors()) types.push_back(parent.toStdString());
    } else {
        types.push_back("application/octet-stream");
    }
    std::vector<Application> applications;
    const auto dirs = DesktopEntries::SearchDirs::fromEnvironment();
    for (auto& entry : DesktopEntries::applicationsFor(types, dirs))
        applications.push_back({std::move(entry.name), std::move(entry.file)});
    return applications;
}

void DesktopWorkspace::open(const std::filesystem::path& file,
                            const std::filesystem::path& application) {
    std::vector<std::string> command;
    if (application.extension() == ".desktop") {
        if (auto entry = DesktopEntries::readEntry(application))
            command = DesktopEntries::commandLine(entry->exec, file);
    } else if (QFileInfo info(qstring(application)); info.isFile() && info.isExecutable()) {
        command = {application.string(), file.string()};
    }
    // An application folder found beside the SketchUp library has nothing Linux can start.
    if (command.empty()) return;
    QStringList arguments;
    for (size_t i = 1; i < command.size(); ++i) arguments << QString::fromStdString(command[i]);
    QProcess::startDetached(QString::fromStdString(command.front()), arguments,
                            qstring(file.parent_path()));
}

void DesktopWorkspace::reveal(const std::filesystem::path& file) {
    QDBusConnection bus = QDBusConnection::sessionBus();
    if (!bus.isConnected()) {
        openContainingFolder(file);
        return;
    }
    QDBusMessage call = QDBusMessage::createMethodCall("org.freedesktop.FileManager1",
                                                       "/org/freedesktop/FileManager1",
                                                       "org.freedesktop.FileManager1", "ShowItems");
    call << QStringList{QUrl::fromLocalFile(qstring(file)).toString(QUrl::FullyEncoded)}
         << QString();
    // Asynchronous: a file manager that is slow to start must not freeze the window.
    auto* watcher = new QDBusPendingCallWatcher(bus.asyncCall(call));
    QObject::connect(watcher, &QDBusPendingCallWatcher::finished,
                     [file](QDBusPendingCallWatcher* finished) {
                         if (finished->isError()) openContainingFolder(file);
                         finished->deleteLater();
                     });
}

}  // namespace vistrel::app

#include "platform/SingleInstance.h"

#include <QDBusConnection>
#include <QDBusConnectionInterface>
#include <QDBusMessage>
#include <QFileInfo>
#include <QUrl>

namespace vistrel::app {

namespace {

constexpr const char* interfaceName = "org.freedesktop.Application";

}  // namespace

bool SingleInstance::claim() {
    QDBusConnection bus = QDBusConnection::sessionBus();
    if (!bus.isConnected() || !bus.interface()) return true;
    // The object is in place before the name, so a launch that sees the name finds it.
    if (!bus.registerObject(objectPath, this, QDBusConnection::ExportAllSlots)) return true;
    const auto reply =
        bus.interface()->registerService(applicationId, QDBusConnectionInterface::DontQueueService,
                                         QDBusConnectionInterface::DontAllowReplacement);
    if (!reply.isValid()) return true;
    if (reply.value() == QDBusConnectionInterface::ServiceRegistered) return true;
    bus.unregisterObject(objectPath);
    return false;
}

bool SingleInstance::handOff(const std::vector<std::string>& files) {
    QDBusConnection bus = QDBusConnection::sessionBus();
    if (!bus.isConnected()) return false;
    QDBusMessage message;
    if (files.empty()) {
        message =
            QDBusMessage::createMethodCall(applicationId, objectPath, interfaceName, "Activate");
        message << QVariantMap{};
    } else {
        QStringList uris;
        for (const std::string& file : files)
            uris << QUrl::fromLocalFile(QFileInfo(QString::fromStdString(file)).absoluteFilePath())
                        .toString(QUrl::FullyEncoded);
        message = QDBusMessage::createMethodCall(applicationId, objectPath, interfaceName, "Open");
        message << uris << QVariantMap{};
    }
    return bus.call(message).type() == QDBusMessage::ReplyMessage;
}

void SingleInstance::Activate(const QVariantMap&) {
    emit activateRequested();
}

void SingleInstance::Open(const QStringList& uris, const QVariantMap&) {
    std::vector<std::string> paths;
    for (const QString& uri : uris) {
        const QUrl url(uri);
        if (url.isLocalFile()) paths.push_back(url.toLocalFile().toStdString());
    }
    if (paths.empty())
        emit activateRequested();
    else
        emit openRequested(paths);
}

// The entry declares no actions; an unknown one still brings the program forward.
void SingleInstance::ActivateAction(const QString&, const QVariantList&, const QVariantMap&) {
    emit activateRequested();
}

}  // namespace vistrel::app

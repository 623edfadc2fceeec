// One running Vistrel per user and session: the first normal launch owns the application's
// well-known name on the session bus and answers the freedesktop org.freedesktop.Application
// interface; later launches hand their files to it and exit. The name goes with the process,
// so a crashed instance blocks nothing. Without a session bus every launch stands alone.
#pragma once

#include <QObject>
#include <QStringList>
#include <QVariantList>
#include <QVariantMap>

#include <string>
#include <vector>

namespace vistrel::app {

class SingleInstance : public QObject {
    Q_OBJECT
    Q_CLASSINFO("D-Bus Interface", "org.freedesktop.Application")

  public:
    // The id of the .desktop file, the metainfo, the icon and the bus name.
    static constexpr const char* applicationId = "org.vistrel.Viewer";
    static constexpr const char* objectPath = "/org/vistrel/Viewer";

    // Whether this process is the one to run: true when it now owns the name or no session bus
    // answers; false when another process owns it.
    bool claim();
    // Asks the owner to open `files` (made absolute here), or to come forward when there are
    // none. False when it did not answer.
    static bool handOff(const std::vector<std::string>& files);

    // The exported interface; its platform data is not used.
  public slots:
    void Activate(const QVariantMap& platformData);
    void Open(const QStringList& uris, const QVariantMap& platformData);
    void ActivateAction(const QString& name, const QVariantList& parameter,
                        const QVariantMap& platformData);

  signals:
    void activateRequested();
    // Local paths; URIs of other schemes are left out.
    void openRequested(const std::vector<std::string>& paths);
};

}  // namespace vistrel::app

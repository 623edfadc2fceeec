// The one front of remote control: the OSC socket, the HTTP listener and the two DNS-SD adverts,
// which open document a remote command acts on, and the camera's pose sent back out over OSC.
//
// Made on first use and never released; start() binds, and a second start() rebinds. Every
// failure is silent: a port that cannot be bound leaves that service off. Everything but the
// socket threads runs on the main thread; OSC messages and HTTP requests hop there.
#pragma once

#include <QObject>
#include <QPointer>

#include <cstdint>
#include <filesystem>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include <nlohmann/json.hpp>

#include "osc/OSCCodec.h"
#include "osc/OSCQueryTree.h"
#include "remote/HTTPListener.h"
#include "remote/RemoteJSON.h"

namespace vistrel {
class OSCUDPServer;
}

namespace vistrel::app {

class BonjourAdverts;
class DocumentModel;

class RemoteControlServer : public QObject {
    Q_OBJECT

  public:
    static constexpr uint16_t defaultOSCPort = 9150;
    static constexpr uint16_t defaultHTTPPort = 17950;
    static constexpr int portAttempts = 16;
    static constexpr const char* serviceName = "Vistrel";

    static RemoteControlServer& shared();

    // Absent ports come from VISTREL_OSC_IN_PORT and VISTREL_API_PORT, else the defaults.
    void start(std::optional<uint16_t> oscPort, std::optional<uint16_t> httpPort,
               bool publishBonjour);
    void startOSCServer(uint16_t port);
    // Listens on the first free port of port, port+1, ... (maxAttempts of them).
    void startHTTPServer(uint16_t port, int maxAttempts);
    // Replaces both adverts: "_oscjson._tcp." on the HTTP port, "_osc._udp." on the OSC port,
    // each only while its service runs.
    void publishBonjourServices(const std::string& name);

    // The document remote commands act on: the override, the current document, the first
    // document; its feedback hook is attached. Null when none is open.
    DocumentModel* activeModel();
    void attachFeedbackIfNeeded(DocumentModel& model);
    // Sends the pose as four OSC messages, unless the move came from OSC, feedback is off in
    // the preferences, or the last burst was less than 1/60 s ago.
    void sendCameraFeedbackIfNeeded(DocumentModel& model);

    // One decoded message, on the main thread. Never reports anything.
    void handleOSCMessage(const OSCCodec::Message& message);

    // The published namespace with the live values of activeModel().
    std::vector<OSCQueryParameterSpec> oscQueryParameters();

    // What the HTTP API reports and accepts, for activeModel() when given none.
    nlohmann::json buildStateDictionary(DocumentModel* model = nullptr);
    nlohmann::json buildCameraDictionary(DocumentModel* model);
    nlohmann::json buildRenderingDictionary(DocumentModel* model);
    nlohmann::json buildHelpDictionary();
    void applyCameraJSON(const nlohmann::json& args, DocumentModel& model);
    void applyRenderingJSON(const nlohmann::json& args, DocumentModel& model);

    // The bound ports: the wanted ones until a start succeeds.
    uint16_t oscPort() const;
    uint16_t httpPort() const { return httpPort_; }
    bool isHTTPListening() const { return httpListenFD_ >= 0; }
    bool isApplyingRemoteOSC() const { return isApplyingRemoteOSC_; }

    // Takes precedence over every document while alive. Nothing in the program sets it.
    QPointer<DocumentModel> overrideModel;
    // Seconds on a monotonic clock; tests replace it to step the feedback limit.
    std::function<double()> now;

  private:
    RemoteControlServer();
    ~RemoteControlServer() override;

    void onBonjourCollision();
    RemoteJSON::Endpoints endpoints() const;

    std::unique_ptr<OSCUDPServer> oscServer_;
    uint16_t httpPort_ = defaultHTTPPort;
    int httpListenFD_ = -1;
    std::unique_ptr<BonjourAdverts> adverts_;
    bool bonjourRenameAttempted_ = false;
    bool isApplyingRemoteOSC_ = false;
    double lastFeedbackTime_ = 0;

    // HTTP
  public:
    // One parsed request, on the main thread: writes the reply into `boxes`, then calls `done`,
    // at once or, for an open, once the document is ready or failed or 12 s have passed.
    void dispatchHTTPRequest(const HTTPRequest& request,
                             const std::shared_ptr<HTTPResponseBoxes>& boxes,
                             std::function<void()> done);
    // Opens `url` in a window and calls `completion`, on the main thread, with its model once
    // ready or failed, or as it stands after 12 s; null when the open itself failed.
    void openDocumentAndWaitUntilReady(const std::filesystem::path& url,
                                       std::function<void(DocumentModel*)> completion);

  private:
    // A connection thread's share of a request: the hop to the main thread, then a wait of at
    // most 15 s, after which the reply goes out as the boxes then stand.
    void handleHTTPConnection(const HTTPRequest& request,
                              const std::shared_ptr<HTTPResponseBoxes>& boxes);

    std::unique_ptr<HTTPListener> httpListener_;
};

}  // namespace vistrel::app

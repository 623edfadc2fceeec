#include "remote/RemoteControlServer.h"

#include <QCoreApplication>

#include <chrono>
#include <cmath>
#include <cstdlib>

#include "documents/DocumentController.h"
#include "documents/SKPDocument.h"
#include "osc/OSCUDPServer.h"
#include "remote/BonjourAdverts.h"
#include "remote/OSCAddressHandler.h"
#include "remote/OSCQueryParameters.h"
#include "remote/RemoteJSON.h"
#include "remote/RemoteValues.h"
#include "shell/Preferences.h"

namespace vistrel::app {

namespace {

double steadySeconds() {
    using namespace std::chrono;
    return duration<double>(steady_clock::now().time_since_epoch()).count();
}

uint16_t portFromEnvironment(const char* name, uint16_t fallback) {
    return Preferences::parsePort(std::getenv(name)).value_or(fallback);
}

// Raised for exactly the span of one message, whatever the route does.
class ApplyingRemoteOSC {
  public:
    explicit ApplyingRemoteOSC(bool& flag) : flag_(flag) { flag_ = true; }
    ~ApplyingRemoteOSC() { flag_ = false; }

  private:
    bool& flag_;
};

}  // namespace

RemoteControlServer& RemoteControlServer::shared() {
    // Never released: the sockets live as long as the process, and closures hold it weakly.
    static RemoteControlServer* server = new RemoteControlServer;
    return *server;
}

RemoteControlServer::RemoteControlServer() : now(steadySeconds) {}

RemoteControlServer::~RemoteControlServer() = default;

void RemoteControlServer::start(std::optional<uint16_t> oscPort, std::optional<uint16_t> httpPort,
                                bool publishBonjour) {
    startOSCServer(oscPort.value_or(portFromEnvironment("VISTREL_OSC_IN_PORT", defaultOSCPort)));
    startHTTPServer(httpPort.value_or(portFromEnvironment("VISTREL_API_PORT", defaultHTTPPort)),
                    portAttempts);
    if (publishBonjour) publishBonjourServices(serviceName);
}

void RemoteControlServer::startOSCServer(uint16_t port) {
    if (oscServer_) oscServer_->stop();
    QPointer<RemoteControlServer> self(this);
    oscServer_ = std::make_unique<OSCUDPServer>(port, [self](const OSCCodec::Message& message) {
        // The receive thread does not wait; messages of one packet keep their order.
        QMetaObject::invokeMethod(
            self.data(),
            [self, message] {
                if (self) self->handleOSCMessage(message);
            },
            Qt::QueuedConnection);
    });
    oscServer_->start(portAttempts);
}

uint16_t RemoteControlServer::oscPort() const {
    return oscServer_ ? oscServer_->port() : defaultOSCPort;
}

void RemoteControlServer::publishBonjourServices(const std::string& name) {
    if (!adverts_) {
        QPointer<RemoteControlServer> self(this);
        adverts_ = std::make_unique<BonjourAdverts>([self] {
            if (self) self->onBonjourCollision();
        });
    }
    bonjourRenameAttempted_ = false;
    const uint16_t http = httpListenFD_ >= 0 ? httpPort_ : 0;
    const uint16_t osc = oscServer_ && oscServer_->isRunning() ? oscServer_->port() : 0;
    adverts_->publish(name, http, osc);
}

void RemoteControlServer::onBonjourCollision() {
    if (bonjourRenameAttempted_) return;
    bonjourRenameAttempted_ = true;
    // Publishing clears the flag, so a collision of the new name is retried under that name.
    publishBonjourServices(std::string(serviceName) + " " + std::to_string(httpPort_));
}

DocumentModel* RemoteControlServer::activeModel() {
    DocumentModel* model = overrideModel.data();
    if (auto* controller = DocumentController::shared(); !model && controller) {
        if (auto* current = controller->currentDocument())
            model = &current->model();
        else if (!controller->documents().empty())
            model = &controller->documents().front()->model();
    }
    if (model) attachFeedbackIfNeeded(*model);
    return model;
}

void RemoteControlServer::attachFeedbackIfNeeded(DocumentModel& model) {
    if (model.onCameraFeedback) return;
    QPointer<RemoteControlServer> self(this);
    model.onCameraFeedback = [self](DocumentModel& m) {
        if (self) self->sendCameraFeedbackIfNeeded(m);
    };
}

void RemoteControlServer::sendCameraFeedbackIfNeeded(DocumentModel& model) {
    if (isApplyingRemoteOSC_) return;  // no echo of a move that OSC itself caused
    if (!Preferences::boolValue("oscFeedbackEnabled")) return;
    const double t = now();
    if (t - lastFeedbackTime_ < 1.0 / 60.0) return;
    lastFeedbackTime_ = t;

    const std::string host = Preferences::oscOutHost();
    const uint16_t port = Preferences::oscOutPort();
    const Float3 position = model.cameraPosition();
    const auto pose = model.viewport().cameraPose();
    const Float3 target = pose ? pose->target() : Float3{0, 1, 0};
    using OSCCodec::Message;
    OSCUDPServer::send(Message{"/vistrel/camera/position", {position.x, position.y, position.z}},
                       host, port);
    OSCUDPServer::send(Message{"/vistrel/camera/target", {target.x, target.y, target.z}}, host,
                       port);
    OSCUDPServer::send(Message{"/vistrel/camera/orientation",
                               {reducedDegrees(model.cameraYaw()), model.cameraPitch()}},
                       host, port);
    OSCUDPServer::send(Message{"/vistrel/camera/fov", {model.cameraFOV()}}, host, port);
}

void RemoteControlServer::handleOSCMessage(const OSCCodec::Message& message) {
    const std::vector<std::string> pieces = OSCAddressHandler::routePieces(message.address);
    if (pieces.empty()) return;
    if (pieces.front() == "open") {
        auto path = message.stringAt(0);
        if (path && !path->empty()) {
            // Fire and forget: the open's outcome is the window's business.
            if (auto* controller = DocumentController::shared())
                controller->openDocument(expandTilde(*path), true);
            return;
        }
    }
    DocumentModel* model = activeModel();
    if (!model) return;
    ApplyingRemoteOSC applying(isApplyingRemoteOSC_);
    OSCAddressHandler::apply(pieces, message, *model);
}

std::vector<OSCQueryParameterSpec> RemoteControlServer::oscQueryParameters() {
    return app::oscQueryParameters(activeModel());
}

RemoteJSON::Endpoints RemoteControlServer::endpoints() const {
    return {oscPort(), httpPort_};
}

nlohmann::json RemoteControlServer::buildStateDictionary(DocumentModel* model) {
    return RemoteJSON::stateDictionary(model ? model : activeModel(), endpoints());
}

nlohmann::json RemoteControlServer::buildCameraDictionary(DocumentModel* model) {
    return RemoteJSON::cameraDictionary(model);
}

nlohmann::json RemoteControlServer::buildRenderingDictionary(DocumentModel* model) {
    return RemoteJSON::renderingDictionary(model);
}

nlohmann::json RemoteControlServer::buildHelpDictionary() {
    return RemoteJSON::helpDictionary(endpoints(), oscQueryParameters());
}

void RemoteControlServer::applyCameraJSON(const nlohmann::json& args, DocumentModel& model) {
    RemoteJSON::applyCameraJSON(args, model);
}

void RemoteControlServer::applyRenderingJSON(const nlohmann::json& args, DocumentModel& model) {
    RemoteJSON::applyRenderingJSON(args, model);
}

}  // namespace vistrel::app

// The HTTP side of remote control: the listener, the hop of every request to the main thread,
// and the routes, OSCQuery ones and the JSON API under /v1.
#include <QCoreApplication>
#include <QString>
#include <QTimer>

#include <atomic>
#include <chrono>
#include <climits>
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <semaphore>

#include "capture/AtomicFile.h"
#include "documents/DocumentController.h"
#include "documents/DocumentModel.h"
#include "documents/SKPDocument.h"
#include "headless/Snapshot.h"
#include "model/SyntheticModel.h"
#include "platform/QtRepeatingTimer.h"
#include "remote/RemoteControlServer.h"
#include "remote/RemoteValues.h"
#include "remote/RemoteWords.h"
#include "shell/Preferences.h"
#include "timing/SteadyClock.h"

namespace vistrel::app {

namespace {

using nlohmann::json;
namespace fs = std::filesystem;

constexpr auto kMainThreadPatience = std::chrono::milliseconds(15000);
constexpr int kOpenPollMilliseconds = 40;
constexpr double kOpenPatienceSeconds = 12.0;
// PDF's own limit on a page side, in points.
constexpr float kMaxPageSide = 14400;

// The query's first key: "VALUE" of "VALUE&x=1", "HOST_INFO" of "HOST_INFO=1".
std::string queryName(const std::string& query) {
    const std::string first = query.substr(0, query.find('&'));
    return first.substr(0, first.find('='));
}

// Fractions truncated toward zero; anything beyond int stands as an index out of every range.
std::optional<int> indexArg(const json& args, const char* key) {
    const json* v = RemoteJSON::member(args, key);
    if (!v || !v->is_number()) return std::nullopt;
    if (v->is_number_unsigned()) return int(std::min<uint64_t>(v->get<uint64_t>(), INT_MAX));
    if (v->is_number_integer())
        return int(std::clamp<int64_t>(v->get<int64_t>(), INT_MIN, INT_MAX));
    const double d = std::trunc(v->get<double>());
    if (!std::isfinite(d) || d > INT_MAX || d < INT_MIN) return -1;
    return int(d);
}

void applyScene(const json& args, DocumentModel& model) {
    if (const auto action = RemoteJSON::textAt(args, "action")) {
        if (*action == "next")
            model.nextScene();
        else if (*action == "prev" || *action == "previous")
            model.previousScene();
        return;  // any other action still ends the reading
    }
    if (const auto index = indexArg(args, "index")) return model.selectScene(*index);
    if (const auto name = RemoteJSON::textAt(args, "name")) {
        if (const auto index = sceneNamed(model, *name)) model.selectScene(*index);
    }
}

void applyLayers(const json& args, DocumentModel& model) {
    if (const auto all = RemoteJSON::boolAt(args, "all")) return model.setAllLayers(*all);
    const auto visible = RemoteJSON::boolAt(args, "visible");
    if (const auto name = RemoteJSON::textAt(args, "group")) {
        if (const auto group = groupNamed(model, *name)) {
            bool anyVisible = false;
            for (int i : group->layerIndices)
                anyVisible |= i >= 0 && size_t(i) < model.layerVisible().size() &&
                              model.layerVisible()[size_t(i)];
            return model.setLayerGroup(*group, visible.value_or(!anyVisible));
        }
    }
    if (const auto name = RemoteJSON::textAt(args, "soloGroup")) {
        if (const auto group = groupNamed(model, *name)) return model.soloLayerGroup(*group);
    }
    if (const auto solo = indexArg(args, "solo")) return model.soloLayer(*solo);
    if (const auto name = RemoteJSON::textAt(args, "solo")) {
        if (const auto layer = layerNamed(model, *name)) return model.soloLayer(*layer);
        if (const auto group = groupNamed(model, *name)) model.soloLayerGroup(*group);
        return;
    }
    std::optional<int> index = indexArg(args, "index");
    if (!index) {
        if (const auto name = RemoteJSON::textAt(args, "name")) index = layerNamed(model, *name);
    }
    if (!index || *index < 0 || size_t(*index) >= model.layerVisible().size()) return;
    if (visible && *visible == model.layerVisible()[size_t(*index)]) return;
    model.toggleLayer(*index);
}

// The program's own cube, presented in a model of its own, for pictures with nothing open.
struct SyntheticDocument {
    QtRepeatingTimer timer;
    viewport::SteadyClock clock;
    DocumentModel model{timer, clock};

    SyntheticDocument() {
        model.present(std::make_shared<viewport::ViewportScene>(SyntheticModel::cube()), 0);
    }
};

std::optional<std::vector<uint8_t>> snapshotPNG(DocumentModel& model) {
    if (auto image = model.viewport().snapshot()) return Snapshot::png(*image);
    return std::nullopt;
}

bool endsWithPDF(const fs::path& path) {
    const std::string name = path.filename().string();
    return name.size() >= 4 && lowerCased(name.substr(name.size() - 4)) == ".pdf";
}

bool startsWithPDFMagic(const fs::path& path) {
    std::ifstream file(path, std::ios::binary);
    char magic[5] = {};
    return file.read(magic, sizeof magic) && std::string_view(magic, 5) == "%PDF-";
}

// The API is unauthenticated and may face the network: a client may write PDFs, never replace
// another kind of file.
std::optional<std::string> refusedPDFPath(const fs::path& path) {
    if (!endsWithPDF(path))
        return "Refusing to write " + path.string() + ": the path must end in .pdf";
    std::error_code error;
    if (fs::exists(fs::symlink_status(path, error)) && !startsWithPDFMagic(path))
        return "Refusing to replace " + path.string() + ": the existing file is not a PDF";
    return std::nullopt;
}

std::optional<Float2> pageSizeArg(const json& args) {
    const auto width = RemoteJSON::numberAt(args, "width");
    const auto height = RemoteJSON::numberAt(args, "height");
    if (!width || !height) return std::nullopt;
    return Float2{std::clamp(*width, 0.0f, kMaxPageSide), std::clamp(*height, 0.0f, kMaxPageSide)};
}

bool listensOnLoopbackOnly() {
    const char* bind = std::getenv("VISTREL_API_BIND");
    return (bind && std::string_view(bind) == "127.0.0.1") ||
           Preferences::boolValue("apiLoopbackOnly");
}

// What a route leaves in the boxes of its request. Copies share the boxes, so an answer given
// late, after an open, lands there too.
struct Reply {
    std::shared_ptr<HTTPResponseBoxes> boxes;

    void write(const json& value, int status = 200) const {
        boxes->status.set(status);
        try {
            boxes->body.set(RemoteJSON::bodyText(value));
        } catch (const std::exception&) {
            // The body keeps what it held.
        }
    }
    void write(const std::vector<uint8_t>& bytes, const char* contentType) const {
        boxes->body.set(std::string(bytes.begin(), bytes.end()));
        boxes->contentType.set(contentType);
    }
};

// The node at the path, or with a query name that one key of it.
void replyOSCQuery(RemoteControlServer& server, const std::string& path, const std::string& name,
                   const Reply& reply) {
    const json root =
        OSCQueryTree::rootJSON(server.oscQueryParameters(), "Vistrel 3D Viewer OSC Namespace");
    const auto node = OSCQueryTree::nodeJSON(path, root);
    if (!node) {
        reply.write({{"error", "OSCQuery path not found"}, {"path", path}}, 404);
    } else if (name.empty()) {
        reply.write(*node);
    } else if (node->contains(name)) {
        reply.write({{name, (*node)[name]}});
    } else {
        reply.boxes->status.set(204);
        reply.boxes->body.set("");
    }
}

// True when the answer comes later, through `done`.
bool replyOpen(RemoteControlServer& server, const json& args, const Reply& reply,
               const std::function<void()>& done) {
    const auto wanted = RemoteJSON::textAt(args, "path");
    if (!wanted || wanted->empty()) {
        reply.write({{"error", "Missing 'path' parameter"}}, 400);
        return false;
    }
    std::error_code error;
    const fs::path url = fs::absolute(expandTilde(*wanted), error);
    const std::string resolved = url.string();
    if (error || !fs::exists(url, error)) {
        reply.write({{"error", "File does not exist: " + resolved}}, 400);
        return false;
    }
    server.openDocumentAndWaitUntilReady(url, [&server, reply, resolved,
                                               done](DocumentModel* model) {
        if (model && model->isReady()) {
            reply.write(
                {{"ok", true}, {"path", resolved}, {"state", server.buildStateDictionary(model)}});
        } else {
            const auto* failed =
                model ? std::get_if<DocumentModel::Failed>(&model->state()) : nullptr;
            reply.write(
                {{"ok", false},
                 {"path", resolved},
                 {"error", failed ? failed->description : "Failed or timed out loading .skp file"}},
                500);
        }
        done();
    });
    return true;
}

void replySnapshot(RemoteControlServer& server, const Reply& reply) {
    std::optional<std::vector<uint8_t>> png;
    if (DocumentModel* model = server.activeModel(); model && model->isReady())
        png = snapshotPNG(*model);
    if (!png) {
        SyntheticDocument cube;
        png = snapshotPNG(cube.model);
    }
    if (png)
        reply.write(*png, "image/png");
    else
        reply.write({{"error", "Could not capture viewport snapshot"}}, 500);
}

void replyPDF(RemoteControlServer& server, const json& args, const Reply& reply) {
    const auto target = RemoteJSON::textAt(args, "path");
    const fs::path file = target && !target->empty() ? expandTilde(*target) : fs::path();
    if (!file.empty()) {
        if (const auto refusal = refusedPDFPath(file))
            return reply.write({{"error", *refusal}}, 400);
    }
    DocumentModel* model = server.activeModel();
    std::unique_ptr<SyntheticDocument> cube;
    if (!model || !model->isReady()) {
        cube = std::make_unique<SyntheticDocument>();
        model = &cube->model;
    }
    const auto pdf = model->renderVectorPDF(pageSizeArg(args));
    if (!pdf) {
        reply.write({{"error", "Failed to generate vector PDF"}}, 500);
    } else if (file.empty()) {
        reply.write(*pdf, "application/pdf");
    } else if (const auto failure = AtomicFile::write(*pdf, file)) {
        reply.write({{"error", *failure}}, 500);
    } else {
        reply.write(
            {{"ok", true}, {"path", file.string()}, {"bytes", pdf->size()}, {"vector", true}});
    }
}

// Every route but the open, in the order they are tried.
void replyAtOnce(RemoteControlServer& server, const HTTPRequest& request, const Reply& reply) {
    const std::string& method = request.method;
    const std::string& path = request.path;
    const json& args = request.args;
    const std::string name = queryName(request.query);
    const bool isRead = method == "GET" || method == "HEAD";
    const bool isPost = method == "POST";

    if (isRead && name == "HOST_INFO")
        return reply.write(
            OSCQueryTree::hostInfoJSON(RemoteControlServer::serviceName, server.oscPort()));
    if (isRead && (path == "/" || path.starts_with("/vistrel")))
        return replyOSCQuery(server, path, name, reply);
    if (method == "GET" && (path == "/v1/state" || path == "/v1/status"))
        return reply.write(server.buildStateDictionary());
    if (method == "GET" && path == "/v1/help") return reply.write(server.buildHelpDictionary());
    if (method == "GET" && path == "/v1/camera")
        return reply.write(server.buildCameraDictionary(server.activeModel()));
    if (method == "GET" && path == "/v1/snapshot.png") return replySnapshot(server, reply);
    if ((method == "GET" || isPost) && path == "/v1/pdf") return replyPDF(server, args, reply);

    const bool isCommand = isPost && (path == "/v1/camera" || path == "/v1/scene" ||
                                      path == "/v1/layers" || path == "/v1/rendering");
    if (!isCommand) return reply.write({{"error", "not found"}, {"path", path}}, 404);
    DocumentModel* model = server.activeModel();
    if (!model) {
        reply.write(
            {{"error", path == "/v1/camera" ? "No .skp document is currently open in Vistrel"
                                            : "No .skp document is currently open"}},
            400);
    } else if (path == "/v1/camera") {
        server.applyCameraJSON(args, *model);
        reply.write({{"ok", true}, {"camera", server.buildCameraDictionary(model)}});
    } else if (path == "/v1/scene") {
        applyScene(args, *model);
        const auto selected = model->selectedScene();
        reply.write({{"ok", true},
                     {"selectedScene", selected ? json(*selected) : json(nullptr)},
                     {"camera", server.buildCameraDictionary(model)}});
    } else if (path == "/v1/layers") {
        applyLayers(args, *model);
        reply.write({{"ok", true},
                     {"visibleLayerCount", model->visibleLayerCount()},
                     {"totalLayerCount", model->layerVisible().size()}});
    } else {
        server.applyRenderingJSON(args, *model);
        reply.write({{"ok", true}, {"rendering", server.buildRenderingDictionary(model)}});
    }
}

}  // namespace

void RemoteControlServer::startHTTPServer(uint16_t port, int maxAttempts) {
    if (httpListener_) {
        httpListener_->stop();
        httpListener_.reset();
        httpListenFD_ = -1;
    }
    auto listener = std::make_unique<HTTPListener>(
        [this](const HTTPRequest& request, const std::shared_ptr<HTTPResponseBoxes>& boxes) {
            handleHTTPConnection(request, boxes);
        });
    if (!listener->listen(port, maxAttempts, listensOnLoopbackOnly())) return;
    httpListenFD_ = listener->fd();
    httpPort_ = listener->port();
    httpListener_ = std::move(listener);
}

void RemoteControlServer::handleHTTPConnection(const HTTPRequest& request,
                                               const std::shared_ptr<HTTPResponseBoxes>& boxes) {
    // The main thread may finish after this thread gave up; its late writes land in the boxes,
    // unheard, and its signal in a semaphore nobody waits on.
    auto answered = std::make_shared<std::binary_semaphore>(0);
    QMetaObject::invokeMethod(
        this,
        [this, request, boxes, answered] {
            auto once = std::make_shared<std::atomic<bool>>(false);
            dispatchHTTPRequest(request, boxes, [answered, once] {
                if (!once->exchange(true)) answered->release();
            });
        },
        Qt::QueuedConnection);
    (void)answered->try_acquire_for(kMainThreadPatience);
}

void RemoteControlServer::dispatchHTTPRequest(const HTTPRequest& request,
                                              const std::shared_ptr<HTTPResponseBoxes>& boxes,
                                              std::function<void()> done) {
    bool later = false;
    try {
        // Nothing a client sends reaches an earlier route as an open: those are GET and HEAD.
        if (request.method == "POST" && request.path == "/v1/open")
            later = replyOpen(*this, request.args, Reply{boxes}, done);
        else
            replyAtOnce(*this, request, Reply{boxes});
    } catch (const std::exception& error) {
        // Our own fault, not the client's: the reply stands as far as it got.
        std::fprintf(stderr, "vistrel: %s %s: %s\n", request.method.c_str(), request.path.c_str(),
                     error.what());
    }
    if (!later) done();
}

void RemoteControlServer::openDocumentAndWaitUntilReady(
    const fs::path& url, std::function<void(DocumentModel*)> completion) {
    DocumentController* controller = DocumentController::shared();
    SKPDocument* opened = nullptr;
    if (controller)
        controller->openDocument(
            url, true, [&opened](SKPDocument* document, const std::optional<std::string>& error) {
                if (!error) opened = document;
            });
    if (!opened) return completion(nullptr);
    DocumentModel& model = opened->model();
    attachFeedbackIfNeeded(model);

    // Polled from the event loop, which keeps running meanwhile; a document closed in between
    // counts as an open that failed.
    struct Poll {
        QPointer<DocumentModel> model;
        std::chrono::steady_clock::time_point start = std::chrono::steady_clock::now();
        std::function<void(DocumentModel*)> completion;
    };
    auto poll = std::make_shared<Poll>(Poll{&model, {}, std::move(completion)});
    poll->start = std::chrono::steady_clock::now();
    auto step = std::make_shared<std::function<void()>>();
    *step = [this, poll, weakStep = std::weak_ptr(step)] {
        DocumentModel* m = poll->model.data();
        const double waited =
            std::chrono::duration<double>(std::chrono::steady_clock::now() - poll->start).count();
        if (!m || m->isReady() || std::holds_alternative<DocumentModel::Failed>(m->state()) ||
            waited >= kOpenPatienceSeconds)
            return poll->completion(m);
        if (auto next = weakStep.lock())
            QTimer::singleShot(kOpenPollMilliseconds, this, [next] { (*next)(); });
    };
    (*step)();
}

}  // namespace vistrel::app

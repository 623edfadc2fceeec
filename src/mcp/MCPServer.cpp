#include "MCPServer.h"

#include <unistd.h>

#include <algorithm>
#include <cerrno>

#include "LineReader.h"

namespace vistrel::mcp {

using nlohmann::json;

namespace {

// A request the server answers with a JSON-RPC error instead of a result.
struct RequestError {
    int code;
    std::string message;
};

constexpr const char* kInstructions =
    "These tools drive Vistrel, a viewer of SketchUp and AutoCAD files, which must be running on "
    "this machine. Call vistrel_state first to see what is open; vistrel_open opens a file; "
    "vistrel_camera, vistrel_scene, vistrel_layers and vistrel_rendering change the view; "
    "vistrel_snapshot shows you the result as an image, and vistrel_pdf exports it as a vector "
    "PDF.";

bool validId(const json& id) {
    return id.is_string() || id.is_number() || id.is_null();
}

bool writeAll(int fd, std::string_view text) {
    while (!text.empty()) {
        const ssize_t n = ::write(fd, text.data(), text.size());
        if (n < 0 && errno == EINTR) continue;
        if (n <= 0) return false;
        text.remove_prefix(std::size_t(n));
    }
    return true;
}

}  // namespace

MCPServer::MCPServer(const VistrelTools& tools) : tools_(tools) {}

json MCPServer::errorReply(const json& id, int code, const std::string& message) {
    return {{"jsonrpc", "2.0"}, {"id", id}, {"error", {{"code", code}, {"message", message}}}};
}

std::optional<json> MCPServer::handle(const json& message) {
    if (!message.is_array()) return handleOne(message);
    if (message.empty()) return errorReply(nullptr, kInvalidRequest, "Empty batch");
    json replies = json::array();
    for (const json& item : message)
        if (auto reply = handleOne(item)) replies.push_back(std::move(*reply));
    if (replies.empty()) return std::nullopt;
    return replies;
}

std::optional<json> MCPServer::handleOne(const json& message) {
    if (!message.is_object()) return errorReply(nullptr, kInvalidRequest, "Not a request object");
    const auto idAt = message.find("id");
    const bool isNotification = idAt == message.end();
    const json id = !isNotification && validId(*idAt) ? *idAt : json(nullptr);
    if (!isNotification && !validId(*idAt))
        return errorReply(nullptr, kInvalidRequest, "The id must be a string or a number");
    const auto version = message.find("jsonrpc");
    if (version == message.end() || *version != "2.0")
        return isNotification
                   ? std::nullopt
                   : std::optional(errorReply(id, kInvalidRequest, "\"jsonrpc\" must be \"2.0\""));
    const auto method = message.find("method");
    if (method == message.end() || !method->is_string())
        return isNotification
                   ? std::nullopt
                   : std::optional(errorReply(id, kInvalidRequest, "\"method\" must be a string"));
    const auto paramsAt = message.find("params");
    const json params = paramsAt == message.end() ? json::object() : *paramsAt;
    // Notifications (initialized, cancelled, progress) need nothing from a server without
    // subscriptions, and never get a reply.
    if (isNotification) return std::nullopt;
    try {
        if (!params.is_object()) throw RequestError{kInvalidParams, "\"params\" must be an object"};
        json result = dispatch(method->get<std::string>(), params);
        return json{{"jsonrpc", "2.0"}, {"id", id}, {"result", std::move(result)}};
    } catch (const RequestError& error) {
        return errorReply(id, error.code, error.message);
    } catch (const std::exception& error) {
        return errorReply(id, kInternalError, error.what());
    }
}

json MCPServer::dispatch(const std::string& method, const json& params) {
    if (method == "initialize") {
        const auto asked = params.find("protocolVersion");
        if (asked == params.end() || !asked->is_string())
            throw RequestError{kInvalidParams, "\"protocolVersion\" must be a string"};
        const auto& versions = kProtocolVersions;
        const auto known = std::find(std::begin(versions), std::end(versions), *asked);
        protocolVersion_ = known != std::end(versions) ? *known : versions[0];
        return {{"protocolVersion", protocolVersion_},
                {"capabilities", {{"tools", {{"listChanged", false}}}}},
                {"serverInfo",
                 {{"name", "vistrel-mcp"}, {"title", "Vistrel"}, {"version", VISTREL_MCP_VERSION}}},
                {"instructions", kInstructions}};
    }
    if (method == "ping") return json::object();
    if (method == "tools/list") return {{"tools", tools_.list()}};
    if (method == "tools/call") {
        const auto name = params.find("name");
        if (name == params.end() || !name->is_string())
            throw RequestError{kInvalidParams, "\"name\" must be a string"};
        if (!tools_.has(name->get<std::string>()))
            throw RequestError{kInvalidParams, "Unknown tool: " + name->get<std::string>()};
        const auto arguments = params.find("arguments");
        if (arguments != params.end() && !arguments->is_object() && !arguments->is_null())
            throw RequestError{kInvalidParams, "\"arguments\" must be an object"};
        const json given =
            arguments == params.end() || arguments->is_null() ? json::object() : *arguments;
        return tools_.call(name->get<std::string>(), given);
    }
    throw RequestError{kMethodNotFound, "Method not found: " + method};
}

std::string MCPServer::handleLine(std::string_view line) {
    if (line.find_first_not_of(" \t\r") == std::string_view::npos) return {};
    json message = json::parse(line, nullptr, false);
    std::optional<json> reply = message.is_discarded()
                                    ? errorReply(nullptr, kParseError, "Parse error: not JSON")
                                    : handle(message);
    // Invalid UTF-8 in a string is replaced rather than thrown: the reply must go out.
    return reply ? reply->dump(-1, ' ', false, json::error_handler_t::replace) : std::string();
}

void MCPServer::serve(int input, int output) {
    LineReader reader(input, kMaxLineBytes);
    std::string line;
    for (;;) {
        std::string reply;
        switch (reader.next(line)) {
            case LineReader::Result::end:
                return;
            case LineReader::Result::tooLong:
                reply = errorReply(nullptr, kInvalidRequest,
                                   "Message too large: the limit is " +
                                       std::to_string(kMaxLineBytes) + " bytes")
                            .dump();
                break;
            case LineReader::Result::line:
                reply = handleLine(line);
                break;
        }
        if (!reply.empty() && !writeAll(output, reply + "\n")) return;
    }
}

}  // namespace vistrel::mcp

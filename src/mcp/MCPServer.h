// The Model Context Protocol server: JSON-RPC 2.0 messages, one per line, on standard input and
// output. It answers `initialize`, `ping`, `tools/list` and `tools/call` with Vistrel's tools,
// answers anything malformed with the protocol's error codes, and never stops for a bad message
// or an absent program: only the end of its input ends it.
#pragma once

#include <cstddef>
#include <optional>
#include <string>
#include <string_view>

#include <nlohmann/json.hpp>

#include "VistrelTools.h"

namespace vistrel::mcp {

class MCPServer {
  public:
    // JSON-RPC error codes.
    static constexpr int kParseError = -32700;
    static constexpr int kInvalidRequest = -32600;
    static constexpr int kMethodNotFound = -32601;
    static constexpr int kInvalidParams = -32602;
    static constexpr int kInternalError = -32603;

    // Lines over this are refused without being held whole.
    static constexpr std::size_t kMaxLineBytes = 16u << 20;
    // Newest first; a client asking for another gets the first.
    static constexpr const char* kProtocolVersions[] = {"2025-06-18", "2025-03-26", "2024-11-05"};

    explicit MCPServer(const VistrelTools& tools);

    // One message, a request, a notification or a batch: the reply, absent when none is due.
    std::optional<nlohmann::json> handle(const nlohmann::json& message);
    // One line of input: the reply's text without a newline, empty when none is due.
    std::string handleLine(std::string_view line);
    // Reads messages from `input` and writes replies to `output` until the input ends or the
    // output is gone; the descriptors stay open.
    void serve(int input, int output);

    // The version agreed by the last `initialize`, empty before.
    const std::string& protocolVersion() const { return protocolVersion_; }

    static nlohmann::json errorReply(const nlohmann::json& id, int code,
                                     const std::string& message);

  private:
    std::optional<nlohmann::json> handleOne(const nlohmann::json& message);
    nlohmann::json dispatch(const std::string& method, const nlohmann::json& params);

    const VistrelTools& tools_;
    std::string protocolVersion_;
};

}  // namespace vistrel::mcp

// Arbitrary bytes as one line of vistrel-mcp's input. Every line gets no reply (a notification,
// a blank) or a JSON-RPC reply that parses, carries "jsonrpc" 2.0 and either a result or an
// error; nothing throws. The tools point at a port that refuses connections, so a well-formed
// call costs one refused connect and no more.
#include <netinet/in.h>
#include <sys/socket.h>

#include <cstdint>
#include <string_view>

#include <nlohmann/json.hpp>

#include "MCPServer.h"

using namespace vistrel::mcp;
using nlohmann::json;

namespace {

std::uint16_t refusingPort() {
    static const std::uint16_t port = [] {
        const int fd = ::socket(AF_INET, SOCK_STREAM, 0);
        sockaddr_in address{};
        address.sin_family = AF_INET;
        address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
        socklen_t length = sizeof address;
        ::bind(fd, reinterpret_cast<sockaddr*>(&address), sizeof address);
        ::getsockname(fd, reinterpret_cast<sockaddr*>(&address), &length);
        return ntohs(address.sin_port);  // the socket stays bound, never listening
    }();
    return port;
}

bool wellFormed(const json& reply) {
    return reply.is_object() && reply.value("jsonrpc", "") == "2.0" && reply.contains("id") &&
           (reply.contains("result") != reply.contains("error"));
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    static const VistrelTools tools{APIClient(refusingPort())};
    MCPServer server(tools);
    const std::string text = server.handleLine({reinterpret_cast<const char*>(data), size});
    if (text.empty()) return 0;
    const json reply = json::parse(text, nullptr, false);
    if (reply.is_discarded()) __builtin_trap();
    if (reply.is_array()) {
        for (const json& item : reply)
            if (!wellFormed(item)) __builtin_trap();
    } else if (!wellFormed(reply)) {
        __builtin_trap();
    }
    return 0;
}

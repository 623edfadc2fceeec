#include "MCPOptions.h"

#include <charconv>
#include <optional>

namespace vistrel::mcp {

namespace {

std::optional<std::uint16_t> portNumber(const std::string& text) {
    unsigned value = 0;
    const char* end = text.data() + text.size();
    const auto [at, failure] = std::from_chars(text.data(), end, value);
    if (failure != std::errc() || at != end || value == 0 || value > 65535) return std::nullopt;
    return std::uint16_t(value);
}

}  // namespace

MCPOptions MCPOptions::parse(const std::vector<std::string>& arguments, const char* environmentPort,
                             std::string& error) {
    MCPOptions options;
    error.clear();
    if (environmentPort && *environmentPort) {
        if (const auto port = portNumber(environmentPort))
            options.port = *port;
        else
            error = std::string("VISTREL_API_PORT is not a port number: ") + environmentPort;
    }
    for (std::size_t i = 0; i < arguments.size(); ++i) {
        const std::string& argument = arguments[i];
        std::optional<std::string> value;
        if (argument == "--help" || argument == "-h") {
            options.help = true;
        } else if (argument == "--version" || argument == "-v") {
            options.version = true;
        } else if (argument == "--port") {
            if (i + 1 == arguments.size()) {
                error = "--port needs a number";
                return options;
            }
            value = arguments[++i];
        } else if (argument.starts_with("--port=")) {
            value = argument.substr(7);
        } else {
            error = "unknown argument: " + argument;
            return options;
        }
        if (value) {
            // The command line outranks the environment, a bad variable included.
            const auto port = portNumber(*value);
            if (!port) {
                error = "--port is not a port number: " + *value;
                return options;
            }
            options.port = *port;
            error.clear();
        }
    }
    return options;
}

std::string MCPOptions::usage() {
    return "Usage: vistrel-mcp [--port N]\n"
           "A Model Context Protocol server on standard input and output, for language-model\n"
           "clients. Its tools drive a running Vistrel through the HTTP API on 127.0.0.1.\n"
           "  --port N   the API port (default: VISTREL_API_PORT, else 17950)\n"
           "  --version  print the version and exit\n";
}

}  // namespace vistrel::mcp

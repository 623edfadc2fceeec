// The command line of vistrel-mcp: the API port to talk to, from `--port`, else the environment's
// VISTREL_API_PORT, else the program's default.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

namespace vistrel::mcp {

struct MCPOptions {
    static constexpr std::uint16_t kDefaultPort = 17950;

    std::uint16_t port = kDefaultPort;
    bool help = false;
    bool version = false;

    // Parses arguments without argument 0; `environmentPort` is VISTREL_API_PORT's value, or
    // null. A bad command line or port leaves an English message in `error`.
    static MCPOptions parse(const std::vector<std::string>& arguments, const char* environmentPort,
                            std::string& error);
    static std::string usage();
};

}  // namespace vistrel::mcp

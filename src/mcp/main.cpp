// vistrel-mcp [--port N]: Vistrel's tools for language-model clients, served over standard input
// and output. Status 0 at the end of input, 2 for a bad command line.
#include <csignal>
#include <cstdlib>
#include <iostream>

#include <unistd.h>

#include "MCPOptions.h"
#include "MCPServer.h"

using namespace vistrel::mcp;

int main(int argc, char** argv) {
    std::string error;
    const MCPOptions options = MCPOptions::parse(std::vector<std::string>(argv + 1, argv + argc),
                                                 std::getenv("VISTREL_API_PORT"), error);
    if (!error.empty()) {
        std::cerr << "vistrel-mcp: " << error << "\n" << MCPOptions::usage();
        return 2;
    }
    if (options.help) {
        std::cout << MCPOptions::usage();
        return 0;
    }
    if (options.version) {
        std::cout << "vistrel-mcp " << VISTREL_MCP_VERSION << "\n";
        return 0;
    }
    // A client that goes away mid-reply ends the loop through write's error, not a signal.
    std::signal(SIGPIPE, SIG_IGN);
    const VistrelTools tools{APIClient(options.port)};
    MCPServer server(tools);
    server.serve(STDIN_FILENO, STDOUT_FILENO);
    return 0;
}

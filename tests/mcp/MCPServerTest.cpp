// The JSON-RPC side of vistrel-mcp, in process, against a port where nothing listens: bad
// messages get the protocol's error codes, versions are negotiated, tool arguments are checked
// before anything goes to the program, and a 100 MB line through the stdio loop is refused
// without being held in memory.
#include <gtest/gtest.h>

#include <netinet/in.h>
#include <sys/resource.h>
#include <sys/socket.h>
#include <unistd.h>

#include <set>
#include <thread>

#include <nlohmann/json.hpp>

#include "MCPServer.h"

using namespace vistrel::mcp;
using nlohmann::json;

namespace {

// A loopback port held bound but never listening, so every connection to it is refused.
class DeadPort {
  public:
    DeadPort() : fd_(::socket(AF_INET, SOCK_STREAM, 0)) {
        sockaddr_in address{};
        address.sin_family = AF_INET;
        address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
        socklen_t length = sizeof address;
        ::bind(fd_, reinterpret_cast<sockaddr*>(&address), sizeof address);
        ::getsockname(fd_, reinterpret_cast<sockaddr*>(&address), &length);
        port = ntohs(address.sin_port);
    }
    ~DeadPort() { ::close(fd_); }
    std::uint16_t port = 0;

  private:
    int fd_;
};

struct Fixture {
    DeadPort dead;
    VistrelTools tools{APIClient(dead.port)};
    MCPServer server{tools};

    json reply(const std::string& line) { return json::parse(server.handleLine(line)); }
    int errorCode(const std::string& line) { return reply(line)["error"]["code"].get<int>(); }
    json call(const std::string& tool, const json& arguments) {
        const json request = {{"jsonrpc", "2.0"},
                              {"id", 9},
                              {"method", "tools/call"},
                              {"params", {{"name", tool}, {"arguments", arguments}}}};
        return reply(request.dump())["result"];
    }
};

std::string initialize(const std::string& version) {
    return json{{"jsonrpc", "2.0"},
                {"id", "init"},
                {"method", "initialize"},
                {"params", {{"protocolVersion", version}, {"capabilities", json::object()}}}}
        .dump();
}

}  // namespace

TEST(MCPServerTest, answersMalformedMessagesWithTheProtocolsCodes) {
    Fixture f;
    EXPECT_EQ(f.errorCode("{\"jsonrpc\":\"2.0\",\"id\":1,"), MCPServer::kParseError);
    EXPECT_EQ(f.errorCode("\xff\xfe"), MCPServer::kParseError);
    EXPECT_EQ(f.errorCode("[]"), MCPServer::kInvalidRequest);
    EXPECT_EQ(f.errorCode("42"), MCPServer::kInvalidRequest);
    EXPECT_EQ(f.errorCode(R"({"jsonrpc":"1.0","id":1,"method":"ping"})"),
              MCPServer::kInvalidRequest);
    EXPECT_EQ(f.errorCode(R"({"jsonrpc":"2.0","id":{"a":1},"method":"ping"})"),
              MCPServer::kInvalidRequest);
    EXPECT_EQ(f.errorCode(R"({"jsonrpc":"2.0","id":1,"method":7})"), MCPServer::kInvalidRequest);
    EXPECT_EQ(f.errorCode(R"({"jsonrpc":"2.0","id":1,"method":"resources/list"})"),
              MCPServer::kMethodNotFound);
    EXPECT_EQ(f.errorCode(R"({"jsonrpc":"2.0","id":1,"method":"tools/call","params":[1]})"),
              MCPServer::kInvalidParams);
    EXPECT_EQ(f.errorCode(R"({"jsonrpc":"2.0","id":1,"method":"tools/call","params":{}})"),
              MCPServer::kInvalidParams);
    EXPECT_EQ(f.errorCode(R"({"jsonrpc":"2.0","id":1,"method":"tools/call",)"
                          R"("params":{"name":"vistrel_teleport"}})"),
              MCPServer::kInvalidParams);
    EXPECT_EQ(f.errorCode(R"({"jsonrpc":"2.0","id":1,"method":"tools/call",)"
                          R"("params":{"name":"vistrel_state","arguments":[]}})"),
              MCPServer::kInvalidParams);
    EXPECT_EQ(f.errorCode(R"({"jsonrpc":"2.0","id":1,"method":"initialize","params":{}})"),
              MCPServer::kInvalidParams);

    // The id comes back as sent; notifications, even unknown ones, get nothing.
    EXPECT_EQ(f.reply(R"({"jsonrpc":"2.0","id":"a-1","method":"ping"})")["id"], "a-1");
    EXPECT_EQ(f.server.handleLine(R"({"jsonrpc":"2.0","method":"notifications/initialized"})"), "");
    EXPECT_EQ(f.server.handleLine(R"({"jsonrpc":"2.0","method":"no/such/thing"})"), "");
    const json batch =
        f.reply(R"([{"jsonrpc":"2.0","id":1,"method":"ping"},{"jsonrpc":"2.0","method":"x"},5])");
    ASSERT_EQ(batch.size(), 2u);
    EXPECT_EQ(batch[0]["result"], json::object());
    EXPECT_EQ(batch[1]["error"]["code"], MCPServer::kInvalidRequest);
}

TEST(MCPServerTest, negotiatesTheVersionAndChecksArgumentsBeforeCallingTheProgram) {
    Fixture f;
    for (const char* version : {"2024-11-05", "2025-03-26", "2025-06-18"})
        EXPECT_EQ(f.reply(initialize(version))["result"]["protocolVersion"], version);
    const json answer = f.reply(initialize("2031-01-01"))["result"];
    EXPECT_EQ(answer["protocolVersion"], "2025-06-18");
    EXPECT_EQ(answer["serverInfo"]["name"], "vistrel-mcp");
    EXPECT_TRUE(answer["capabilities"].contains("tools"));

    const json list = f.reply(R"({"jsonrpc":"2.0","id":2,"method":"tools/list"})");
    std::set<std::string> readOnly;
    for (const json& tool : list["result"]["tools"])
        if (tool["annotations"]["readOnlyHint"] == true) readOnly.insert(tool["name"]);
    EXPECT_EQ(readOnly, (std::set<std::string>{"vistrel_snapshot", "vistrel_state"}));

    // Arguments outside the schema are the model's to fix: a tool error that says what is wrong.
    const auto text = [](const json& result) {
        return result["content"][0]["text"].get<std::string>();
    };
    json result = f.call("vistrel_camera", {{"fov", 500}});
    EXPECT_EQ(result["isError"], true);
    EXPECT_NE(text(result).find("'fov' must be at most 120"), std::string::npos) << text(result);
    result = f.call("vistrel_rendering", {{"style", "chalk"}});
    EXPECT_NE(text(result).find("\"clay\""), std::string::npos) << text(result);
    result = f.call("vistrel_camera", {{"position", {1, "2", 3}}});
    EXPECT_NE(text(result).find("'position[1]' must be a number"), std::string::npos)
        << text(result);
    result = f.call("vistrel_open", json::object());
    EXPECT_NE(text(result).find("'path' is required"), std::string::npos) << text(result);
    result = f.call("vistrel_layers", {{"index", 2.5}});
    EXPECT_NE(text(result).find("'index' must be an integer"), std::string::npos) << text(result);

    // Arguments within it go to the program, which is not there.
    result = f.call("vistrel_layers", {{"index", 2.0}, {"visible", false}});
    EXPECT_EQ(result["isError"], true);
    EXPECT_NE(text(result).find("Vistrel is not running"), std::string::npos) << text(result);
}

TEST(MCPServerTest, refusesAHundredMegabyteLineWithoutHoldingIt) {
    Fixture f;
    int input[2], output[2];
    ASSERT_EQ(::pipe(input), 0);
    ASSERT_EQ(::pipe(output), 0);
    rusage before{};
    ::getrusage(RUSAGE_SELF, &before);
    std::thread client([&] {
        const std::string chunk(1 << 20, ' ');
        bool open = ::write(input[1], "[", 1) == 1;
        for (int i = 0; i < 100 && open; ++i)
            open = ::write(input[1], chunk.data(), chunk.size()) == ssize_t(chunk.size());
        const std::string rest = "]\n{\"jsonrpc\":\"2.0\",\"id\":7,\"method\":\"ping\"}\n";
        if (open) (void)!::write(input[1], rest.data(), rest.size());
        ::close(input[1]);
    });
    std::thread server([&] {
        f.server.serve(input[0], output[1]);
        ::close(output[1]);
    });
    std::string replies;
    char buffer[4096];
    for (ssize_t n; (n = ::read(output[0], buffer, sizeof buffer)) > 0;) replies.append(buffer, n);
    client.join();
    server.join();
    ::close(input[0]);
    ::close(output[0]);

    const size_t newline = replies.find('\n');
    ASSERT_NE(newline, std::string::npos) << replies;
    const json refused = json::parse(replies.substr(0, newline));
    EXPECT_EQ(refused["error"]["code"], MCPServer::kInvalidRequest);
    EXPECT_TRUE(refused["id"].is_null());
    EXPECT_EQ(json::parse(replies.substr(newline + 1))["id"], 7);
    rusage after{};
    ::getrusage(RUSAGE_SELF, &after);
    EXPECT_LT(after.ru_maxrss - before.ru_maxrss, 64 * 1024) << "kilobytes more at the peak";
}

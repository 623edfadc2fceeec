// vistrel-mcp as a language-model client runs it: a child process spoken to over its standard
// input and output, driving the real program from opening a file to a snapshot, and again with
// no program at all.
#include <gtest/gtest.h>

#include <fcntl.h>
#include <poll.h>

#include <set>

#include <nlohmann/json.hpp>

#include "Base64.h"
#include "RunningProgram.h"
#include "image/PNGFile.h"

using namespace vistrel;
using namespace vistrel::test;
using nlohmann::json;

namespace {

// One vistrel-mcp child and the client's side of its pipes.
class MCPSession {
  public:
    explicit MCPSession(std::uint16_t port) {
        int in[2], out[2];
        if (::pipe2(in, O_CLOEXEC) != 0 || ::pipe2(out, O_CLOEXEC) != 0) return;
        pid_ = ::fork();
        if (pid_ == 0) {
            ::dup2(in[0], STDIN_FILENO);
            ::dup2(out[1], STDOUT_FILENO);
            ::unsetenv("VISTREL_API_PORT");
            const std::string portText = std::to_string(port);
            ::execl(VISTREL_MCP_BINARY, VISTREL_MCP_BINARY, "--port", portText.c_str(), nullptr);
            ::_exit(127);
        }
        ::close(in[0]);
        ::close(out[1]);
        toChild_ = in[1];
        fromChild_ = out[0];
    }
    ~MCPSession() {
        if (toChild_ >= 0) ::close(toChild_);
        if (fromChild_ >= 0) ::close(fromChild_);
        if (pid_ > 0 && !exited_) {
            ::kill(pid_, SIGKILL);
            ::waitpid(pid_, nullptr, 0);
        }
    }

    void send(const json& message) {
        const std::string line = message.dump() + "\n";
        ASSERT_EQ(::write(toChild_, line.data(), line.size()), ssize_t(line.size()));
    }
    // The reply to one request, or null when none came within the time.
    json request(const std::string& method, const json& params) {
        send({{"jsonrpc", "2.0"}, {"id", ++lastId_}, {"method", method}, {"params", params}});
        const json reply = json::parse(readLine(), nullptr, false);
        if (reply.is_discarded() || reply["id"] != lastId_) return nullptr;
        return reply;
    }
    json call(const std::string& tool, const json& arguments) {
        const json reply = request("tools/call", {{"name", tool}, {"arguments", arguments}});
        return reply.is_object() ? reply["result"] : json();
    }
    // Closes the child's input and returns its exit status, -1 when it did not end by itself.
    int finish() {
        ::close(toChild_);
        toChild_ = -1;
        for (int i = 0; i < 100; ++i) {
            int status = 0;
            if (::waitpid(pid_, &status, WNOHANG) == pid_) {
                exited_ = true;
                return WIFEXITED(status) ? WEXITSTATUS(status) : -1;
            }
            std::this_thread::sleep_for(std::chrono::milliseconds(50));
        }
        return -1;
    }

  private:
    std::string readLine() {
        const auto end = std::chrono::steady_clock::now() + std::chrono::seconds(120);
        for (size_t newline; (newline = pending_.find('\n')) == std::string::npos;) {
            pollfd ready{fromChild_, POLLIN, 0};
            const auto left = std::chrono::duration_cast<std::chrono::milliseconds>(
                end - std::chrono::steady_clock::now());
            char buffer[65536];
            ssize_t n = 0;
            if (left.count() <= 0 || ::poll(&ready, 1, int(left.count())) <= 0 ||
                (n = ::read(fromChild_, buffer, sizeof buffer)) <= 0)
                return {};
            pending_.append(buffer, size_t(n));
        }
        const size_t newline = pending_.find('\n');
        std::string line = pending_.substr(0, newline);
        pending_.erase(0, newline + 1);
        return line;
    }

    pid_t pid_ = -1;
    int toChild_ = -1, fromChild_ = -1;
    int lastId_ = 0;
    bool exited_ = false;
    std::string pending_;
};

std::string text(const json& result) {
    for (const json& item : result.value("content", json::array()))
        if (item["type"] == "text") return item["text"];
    return {};
}

json textJSON(const json& result) {
    return json::parse(text(result), nullptr, false);
}

}  // namespace

TEST(MCPProgramTest, opensFramesRestylesAndSnapshotsARunningProgram) {
    const auto corpus = corpusDir();
    const auto drawing = corpus ? *corpus / "dxf" / "bnortierdxf__threeDFaces.dxf" : "";
    if (!corpus || !std::filesystem::exists(drawing)) GTEST_SKIP() << "no shared corpus";
    RunningProgram program({});
    ASSERT_TRUE(program.waitForPort("tcp", program.httpPort));
    MCPSession mcp(program.httpPort);

    const json init =
        mcp.request("initialize", {{"protocolVersion", "2025-06-18"},
                                   {"capabilities", json::object()},
                                   {"clientInfo", {{"name", "MCPProgramTest"}, {"version", "1"}}}});
    ASSERT_TRUE(init.is_object());
    EXPECT_EQ(init["result"]["protocolVersion"], "2025-06-18");
    mcp.send({{"jsonrpc", "2.0"}, {"method", "notifications/initialized"}});
    const json list = mcp.request("tools/list", json::object());
    std::set<std::string> names;
    for (const json& tool : list["result"]["tools"]) names.insert(tool["name"]);
    EXPECT_EQ(names, (std::set<std::string>{"vistrel_state", "vistrel_open", "vistrel_camera",
                                            "vistrel_scene", "vistrel_layers", "vistrel_rendering",
                                            "vistrel_snapshot", "vistrel_pdf"}));

    const json opened = mcp.call("vistrel_open", {{"path", drawing.string()}});
    ASSERT_EQ(opened["isError"], false) << text(opened);
    EXPECT_EQ(textJSON(opened)["state"]["isReady"], true);
    const json framed = mcp.call("vistrel_camera", {{"action", "zoom_extents"}});
    EXPECT_EQ(textJSON(framed)["camera"]["ready"], true) << text(framed);
    const json styled = mcp.call("vistrel_rendering", {{"style", "clay"}});
    EXPECT_EQ(textJSON(styled)["rendering"]["shadingStyle"], "clay") << text(styled);
    EXPECT_EQ(program.state()["rendering"]["shadingStyle"], "clay");

    const json snapshot = mcp.call("vistrel_snapshot", {{"width", 320}});
    ASSERT_EQ(snapshot["isError"], false) << text(snapshot);
    const json& image = snapshot["content"][0];
    EXPECT_EQ(image["mimeType"], "image/png");
    const auto png = mcp::Base64::decode(image["data"].get<std::string>());
    ASSERT_TRUE(png && png->size() > 8);
    EXPECT_EQ(std::string(png->begin(), png->begin() + 8), "\x89PNG\r\n\x1a\n");
    const auto picture = viewport::PNGFile::decode(*png);
    ASSERT_TRUE(picture);
    EXPECT_EQ(picture->width, 320);
    // The backdrop is uniform along a row; the model across the middle row is not.
    const auto pixel = [&](int x, int y) {
        const uint8_t* p = &picture->pixels[(size_t(y) * picture->width + x) * 4];
        return std::array<uint8_t, 4>{p[0], p[1], p[2], p[3]};
    };
    std::set<std::array<uint8_t, 4>> middleRow;
    for (int x = 0; x < picture->width; ++x) middleRow.insert(pixel(x, picture->height / 2));
    EXPECT_GT(middleRow.size(), 1u);

    // The API's own refusal reaches the model.
    const json missing =
        mcp.call("vistrel_open", {{"path", (program.folder() / "missing.dxf").string()}});
    EXPECT_EQ(missing["isError"], true);
    EXPECT_NE(text(missing).find("File does not exist: "), std::string::npos) << text(missing);
    EXPECT_EQ(mcp.finish(), 0);
}

TEST(MCPProgramTest, everyToolSaysHowToStartAnAbsentProgram) {
    MCPSession mcp(freePort(SOCK_STREAM));
    ASSERT_TRUE(mcp.request("initialize", {{"protocolVersion", "2025-03-26"}}).is_object());
    const std::pair<const char*, json> calls[] = {
        {"vistrel_state", json::object()},
        {"vistrel_open", {{"path", "/tmp/plan.dxf"}}},
        {"vistrel_camera", {{"action", "zoom_extents"}}},
        {"vistrel_scene", {{"action", "next"}}},
        {"vistrel_layers", {{"all", true}}},
        {"vistrel_rendering", {{"style", "clay"}}},
        {"vistrel_snapshot", json::object()},
        {"vistrel_pdf", json::object()},
    };
    for (const auto& [tool, arguments] : calls) {
        const json result = mcp.call(tool, arguments);
        EXPECT_EQ(result["isError"], true) << tool;
        EXPECT_NE(text(result).find("Vistrel is not running"), std::string::npos) << tool;
        EXPECT_NE(text(result).find("Start Vistrel (run `vistrel`"), std::string::npos) << tool;
    }
    EXPECT_EQ(mcp.request("ping", json::object())["result"], json::object());
    EXPECT_EQ(mcp.finish(), 0);
}

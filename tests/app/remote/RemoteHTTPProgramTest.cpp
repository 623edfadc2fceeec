// The HTTP API of the running program, driven with curl over loopback, with and without a
// document. Bodies are compared as the exact text a client reads. What curl cannot send (a body
// cut short, 5 MiB at once) is sent to the same listener in HTTPRequestTest.
#include <gtest/gtest.h>

#include <chrono>
#include <cstdio>
#include <fstream>
#include <thread>

#include <nlohmann/json.hpp>

#include "RunningProgram.h"

using namespace vistrel::test;
using nlohmann::json;

namespace {

struct Reply {
    int status = 0;
    std::string head, body;
};

// One curl exchange: `options` go to curl as they stand, the path is under the program's port.
Reply curl(const RunningProgram& program, const std::string& options, const std::string& path) {
    const std::string command = "curl -s -i --max-time 30 " + options +
                                " 'http://127.0.0.1:" + std::to_string(program.httpPort) + path +
                                "'";
    const std::string text = commandOutput(command);
    Reply reply;
    const size_t end = text.find("\r\n\r\n");
    if (end == std::string::npos || std::sscanf(text.c_str(), "HTTP/1.1 %d", &reply.status) != 1)
        return reply;
    reply.head = text.substr(0, end + 4);
    reply.body = text.substr(end + 4);
    return reply;
}

json state(const RunningProgram& program) {
    return json::parse(curl(program, "", "/v1/state").body, nullptr, false);
}

// Whether the program listens on `address` ("0100007F" for 127.0.0.1, "00000000" for all).
bool listensOn(const RunningProgram& program, const char* address) {
    std::ifstream table("/proc/" + std::to_string(program.pid()) + "/net/tcp");
    char wanted[32];
    std::snprintf(wanted, sizeof wanted, " %s:%04X 00000000:0000 0A ", address, program.httpPort);
    for (std::string line; std::getline(table, line);)
        if (line.find(wanted) != std::string::npos) return true;
    return false;
}

bool waitUntilReady(const RunningProgram& program) {
    for (int i = 0; i < 400; ++i) {
        if (state(program).value("isReady", false)) return true;
        std::this_thread::sleep_for(std::chrono::milliseconds(50));
    }
    return false;
}

}  // namespace

TEST(RemoteHTTPProgramTest, answersWithoutADocumentAndGuardsWhatItWrites) {
    TempDir home;
    RunningProgram program({}, {{"HOME", home.path().string()}, {"VISTREL_API_BIND", "127.0.0.1"}});
    ASSERT_TRUE(program.waitForPort("tcp", program.httpPort));
    EXPECT_TRUE(listensOn(program, "0100007F"));

    const json s = state(program);
    EXPECT_EQ(s["hasDocument"], false);
    EXPECT_EQ(s["camera"], json({{"ready", false}}));
    EXPECT_EQ(s["rendering"], json::object());
    EXPECT_EQ(s["scenes"], json::array());
    EXPECT_EQ(curl(program, "-X POST -d '{\"fov\":50}'", "/v1/camera").body,
              "{\n  \"error\" : \"No .skp document is currently open in Vistrel\"\n}");
    const Reply missing = curl(program, "-d '{\"path\":\"~/missing.skp\"}'", "/v1/open");
    EXPECT_EQ(missing.status, 400);
    EXPECT_EQ(json::parse(missing.body)["error"],
              "File does not exist: " + (home / "missing.skp").string());

    const Reply png = curl(program, "", "/v1/snapshot.png");
    EXPECT_NE(png.head.find("Content-Type: image/png\r\n"), std::string::npos);
    EXPECT_TRUE(png.body.starts_with("\x89PNG\r\n\x1a\n"));

    // PDFs go only to .pdf paths, and never over a file of another kind.
    std::ofstream(home / "notes.pdf") << "my notes";
    EXPECT_EQ(curl(program, "-d '{\"path\":\"~/notes.pdf\"}'", "/v1/pdf").status, 400);
    EXPECT_EQ(curl(program, "-d '{\"path\":\"~/page.txt\"}'", "/v1/pdf").status, 400);
    EXPECT_EQ(json::parse(curl(program, "-d '{\"path\":\"~/page.pdf\"}'", "/v1/pdf").body)["ok"],
              true);
    std::string notes, page;
    std::getline(std::ifstream(home / "notes.pdf"), notes);
    std::getline(std::ifstream(home / "page.pdf"), page);
    EXPECT_EQ(notes, "my notes");
    EXPECT_TRUE(page.starts_with("%PDF-"));
}

TEST(RemoteHTTPProgramTest, servesOSCQueryAndTheAPIOnAnOpenDocument) {
    RunningProgram program({VISTREL_SAMPLE});
    ASSERT_TRUE(program.waitForPort("tcp", program.httpPort));
    ASSERT_TRUE(waitUntilReady(program));
    EXPECT_TRUE(listensOn(program, "00000000"));  // all interfaces unless told otherwise

    const std::string hostInfo = curl(program, "", "/?HOST_INFO").body;
    EXPECT_EQ(json::parse(hostInfo)["OSC_PORT"], program.oscPort);
    EXPECT_EQ(curl(program, "", "/v1/state?HOST_INFO").body, hostInfo);
    EXPECT_EQ(curl(program, "", "/anything?HOST_INFO=1").body, hostInfo);
    EXPECT_EQ(curl(program, "", "/vistrel/camera/fov?VALUE").body,
              "{\n  \"VALUE\" : [\n    35.0\n  ]\n}");
    const Reply tags = curl(program, "", "/vistrel/camera/fov?TAGS");
    EXPECT_EQ(tags.status, 204);
    EXPECT_EQ(tags.body, "");
    EXPECT_EQ(curl(program, "", "/vistrel/nope").status, 404);
    const Reply head = curl(program, "-I", "/vistrel/camera/fov");
    EXPECT_EQ(head.status, 200);
    EXPECT_NE(head.head.find("\r\nContent-Length: 0\r\n"), std::string::npos);
    EXPECT_EQ(curl(program, "-I", "/v1/state").status, 404);
    EXPECT_EQ(curl(program, "", "/v1/camera/").body,
              "{\n  \"error\" : \"not found\",\n  \"path\" : \"/v1/camera/\"\n}");
    EXPECT_EQ(curl(program, "", "/V1/state").status, 404);
    EXPECT_EQ(json::parse(curl(program, "-X get", "/v1/camera").body)["ready"], true);

    // Commands that name nothing reply ok and change nothing.
    const json before = state(program);
    EXPECT_EQ(json::parse(curl(program, "-d '{\"action\":\"sideways\",\"index\":2}'", "/v1/scene")
                              .body)["selectedScene"],
              before["selectedScene"]);
    const json layers = json::parse(curl(program, "-d '{\"index\":999}'", "/v1/layers").body);
    EXPECT_EQ(layers["ok"], true);
    EXPECT_EQ(layers["totalLayerCount"], before["layers"].size());
    EXPECT_TRUE(state(program)["layers"] == before["layers"]);

    TempDir folder;
    std::filesystem::copy_file(VISTREL_SAMPLE, folder / "copy.dxf");
    const json opened = json::parse(
        curl(program, "-d '{\"path\":\"" + (folder / "copy.dxf").string() + "\"}'", "/v1/open")
            .body);
    EXPECT_EQ(opened["ok"], true);
    EXPECT_EQ(opened["state"]["filePath"], (folder / "copy.dxf").string());
}

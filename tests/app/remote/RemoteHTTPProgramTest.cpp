// The HTTP API of the running program, driven with curl over loopback, with and without a
// document. Bodies are compared as the exact text a client reads. What curl cannot send (a body
// cut short, 5 MiB at once) is sent to the same listener in HTTPRequestTest.
#include <gtest/gtest.h>

#include <fstream>

#include <nlohmann/json.hpp>

#include "RunningProgram.h"

using namespace vistrel::test;
using nlohmann::json;

TEST(RemoteHTTPProgramTest, answersWithoutADocumentAndGuardsWhatItWrites) {
    TempDir home;
    RunningProgram program({}, {{"HOME", home.path().string()}, {"VISTREL_API_BIND", "127.0.0.1"}});
    ASSERT_TRUE(program.waitForPort("tcp", program.httpPort));
    EXPECT_TRUE(hasBoundPort(program.pid(), "tcp", program.httpPort, "0100007F"));

    EXPECT_EQ(program.state()["hasDocument"], false);
    EXPECT_EQ(program.curl("-X POST -d '{\"fov\":50}'", "/v1/camera").body,
              "{\n  \"error\" : \"No .skp document is currently open in Vistrel\"\n}");
    const auto missing = program.curl("-d '{\"path\":\"~/missing.skp\"}'", "/v1/open");
    EXPECT_EQ(missing.status, 400);
    EXPECT_EQ(json::parse(missing.body)["error"],
              "File does not exist: " + (home / "missing.skp").string());

    const auto png = program.curl("", "/v1/snapshot.png");
    EXPECT_NE(png.head.find("Content-Type: image/png\r\n"), std::string::npos);
    EXPECT_TRUE(png.body.starts_with("\x89PNG\r\n\x1a\n"));

    // PDFs go only to .pdf paths, and never over a file of another kind.
    std::ofstream(home / "notes.pdf") << "my notes";
    EXPECT_EQ(program.curl("-d '{\"path\":\"~/notes.pdf\"}'", "/v1/pdf").status, 400);
    EXPECT_EQ(program.curl("-d '{\"path\":\"~/page.txt\"}'", "/v1/pdf").status, 400);
    EXPECT_EQ(json::parse(program.curl("-d '{\"path\":\"~/page.pdf\"}'", "/v1/pdf").body)["ok"],
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
    ASSERT_TRUE(program.waitForState("/isReady", true, 20));
    // All interfaces unless told otherwise.
    EXPECT_TRUE(hasBoundPort(program.pid(), "tcp", program.httpPort, "00000000"));

    const std::string hostInfo = program.curl("", "/?HOST_INFO").body;
    EXPECT_EQ(json::parse(hostInfo)["OSC_PORT"], program.oscPort);
    EXPECT_EQ(program.curl("", "/v1/state?HOST_INFO").body, hostInfo);
    EXPECT_EQ(program.curl("", "/anything?HOST_INFO=1").body, hostInfo);
    EXPECT_EQ(program.curl("", "/vistrel/camera/fov?VALUE").body,
              "{\n  \"VALUE\" : [\n    35.0\n  ]\n}");
    const auto tags = program.curl("", "/vistrel/camera/fov?TAGS");
    EXPECT_TRUE(tags.head.starts_with("HTTP/1.1 204 No Content\r\n")) << tags.head;
    EXPECT_EQ(tags.body, "");
    EXPECT_EQ(program.curl("", "/vistrel/nope").status, 404);
    const auto head = program.curl("-I", "/vistrel/camera/fov");
    EXPECT_EQ(head.status, 200);
    EXPECT_NE(head.head.find("\r\nContent-Length: 0\r\n"), std::string::npos);
    EXPECT_EQ(program.curl("-I", "/v1/state").status, 404);
    EXPECT_EQ(program.curl("", "/v1/camera/").body,
              "{\n  \"error\" : \"not found\",\n  \"path\" : \"/v1/camera/\"\n}");
    EXPECT_EQ(program.curl("", "/V1/state").status, 404);
    EXPECT_EQ(json::parse(program.curl("-X get", "/v1/camera").body)["ready"], true);

    // Commands that name nothing reply ok and change nothing.
    const json before = program.state();
    EXPECT_EQ(json::parse(program.curl("-d '{\"action\":\"sideways\",\"index\":2}'", "/v1/scene")
                              .body)["selectedScene"],
              before["selectedScene"]);
    const json layers = json::parse(program.curl("-d '{\"index\":999}'", "/v1/layers").body);
    EXPECT_EQ(layers["ok"], true);
    EXPECT_EQ(layers["totalLayerCount"], before["layers"].size());
    EXPECT_TRUE(program.state()["layers"] == before["layers"]);

    TempDir folder;
    std::filesystem::copy_file(VISTREL_SAMPLE, folder / "copy.dxf");
    const json opened = json::parse(
        program.curl("-d '{\"path\":\"" + (folder / "copy.dxf").string() + "\"}'", "/v1/open")
            .body);
    EXPECT_EQ(opened["ok"], true);
    EXPECT_EQ(opened["state"]["filePath"], (folder / "copy.dxf").string());
}

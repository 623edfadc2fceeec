#include <gtest/gtest.h>

#include <sys/wait.h>
#include <array>
#include <cstdio>
#include <fstream>
#include <nlohmann/json.hpp>
#include <string>

#include "InspectOptions.h"
#include "TestEnv.h"

using namespace vistrel::inspect;
using namespace vistrel::test;

namespace {

struct ToolRun {
    int status = -1;
    std::string out;
};

// Runs the real vistrel-inspect and collects its standard output.
ToolRun inspect(const std::string& arguments) {
    ToolRun r;
    std::string command = std::string(VISTREL_INSPECT_BINARY) + " " + arguments + " 2>/dev/null";
    FILE* p = popen(command.c_str(), "r");
    if (!p) return r;
    std::array<char, 4096> buffer;
    size_t n;
    while ((n = fread(buffer.data(), 1, buffer.size(), p)) > 0) r.out.append(buffer.data(), n);
    int status = pclose(p);
    r.status = WIFEXITED(status) ? WEXITSTATUS(status) : -1;
    return r;
}

std::string head(const std::filesystem::path& file, size_t n) {
    std::string bytes(n, '\0');
    std::ifstream(file, std::ios::binary).read(bytes.data(), std::streamsize(n));
    return bytes;
}

}  // namespace

TEST(InspectOptions, filesOptionsAndErrors) {
    std::string error;
    auto o = InspectOptions::parse({"a.dxf", "--", "-odd.dxf"}, error);
    EXPECT_TRUE(error.empty());
    EXPECT_EQ(o.files, (std::vector<std::filesystem::path>{"a.dxf", "-odd.dxf"}));
    InspectOptions::parse({"--frobnicate", "a.dxf"}, error);
    EXPECT_EQ(error, "unknown option: --frobnicate");
    InspectOptions::parse({}, error);
    EXPECT_EQ(error, "no file given");

    o = InspectOptions::parse({"--png", "a.png", "--size", "320x200", "--style", "clay", "m.dxf"},
                              error);
    EXPECT_TRUE(error.empty()) << error;
    EXPECT_EQ(std::tuple(o.png, o.width, o.height, o.style),
              std::tuple(std::filesystem::path("a.png"), 320, 200,
                         vistrel::viewport::ShadingStyle::clay));
    for (const char* bad : {"320", "0x10", "20000x10", "12ax4"}) {
        InspectOptions::parse({"--png", "a.png", "--size", bad, "m.dxf"}, error);
        EXPECT_NE(error.find("--size"), std::string::npos) << bad;
    }
    InspectOptions::parse({"--style", "Clay", "m.dxf"}, error);
    EXPECT_NE(error.find("--style"), std::string::npos);
    InspectOptions::parse({"--pdf", "a.pdf", "a.dxf", "b.dxf"}, error);
    EXPECT_EQ(error, "--pdf and --png take exactly one file");
}

TEST(Inspect, printsASummaryPerFileAndFailsOnABadOne) {
    TempDir dir;
    std::ofstream(dir / "plan.dxf")
        << "0\nSECTION\n2\nHEADER\n9\n$ACADVER\n1\nAC1015\n9\n$INSUNITS\n70\n4\n0\nENDSEC\n"
           "0\nSECTION\n2\nTABLES\n0\nLAYER\n2\nOff\n62\n-1\n0\nENDSEC\n"
           "0\nSECTION\n2\nENTITIES\n0\nLINE\n8\nOff\n10\n0\n20\n0\n11\n2000\n21\n0\n"
           "0\nCIRCLE\n10\n0\n20\n0\n40\n500\n0\nENDSEC\n0\nEOF\n";
    ScopedEnv nativeOnly("VISTREL_FORCE_NATIVE_DXF", "1");
    ToolRun ok = inspect((dir / "plan.dxf").string());
    EXPECT_EQ(ok.status, 0);
    auto j = nlohmann::json::parse(ok.out);
    EXPECT_EQ(j["version"], "AC1015");
    EXPECT_EQ(j["stats"]["edges"], 25);
    EXPECT_EQ(j["layers"], 2);
    EXPECT_EQ(j["hiddenLayers"], 1);
    EXPECT_EQ(j["isPlanar2D"], true);
    // Millimetres to metres: the circle reaches to -0.5, the line to 2.
    EXPECT_NEAR(j["bounds"]["size"][0].get<double>(), 2.5, 1e-6);

    std::ofstream(dir / "model.dwg") << "AC1032 and nothing a reader could use";
    ToolRun bad = inspect((dir / "model.dwg").string() + " " + (dir / "plan.dxf").string());
    EXPECT_EQ(bad.status, 1);
    // Two objects, the failing one first, with what its header told.
    size_t split = bad.out.find("}\n{");
    ASSERT_NE(split, std::string::npos);
    auto failed = nlohmann::json::parse(bad.out.substr(0, split + 1));
    EXPECT_EQ(failed["version"], "AC1032");
    EXPECT_EQ(failed["versionLabel"], "AutoCAD 2018");
    EXPECT_EQ(failed["hasThumbnail"], false);
    EXPECT_FALSE(failed["error"].get<std::string>().empty());
    EXPECT_EQ(nlohmann::json::parse(bad.out.substr(split + 2))["stats"]["edges"], 25);
}

TEST(Inspect, firstViewIsWrittenAsPDFOrPNGOrFailsCleanly) {
    TempDir dir;
    std::ofstream(dir / "face.dxf")
        << "0\nSECTION\n2\nENTITIES\n0\n3DFACE\n8\n0\n10\n0\n20\n0\n30\n0\n11\n4\n21\n0\n31\n0\n"
           "12\n4\n22\n3\n32\n2\n13\n0\n23\n3\n33\n2\n0\nENDSEC\n0\nEOF\n";
    const std::string dxf = (dir / "face.dxf").string();
    ScopedEnv nativeOnly("VISTREL_FORCE_NATIVE_DXF", "1");
    EXPECT_EQ(inspect("--pdf " + (dir / "face.pdf").string() + " " + dxf).status, 0);
    EXPECT_EQ(head(dir / "face.pdf", 5), "%PDF-");
    // An output folder that does not exist: status 1 and nothing written; no path: usage.
    EXPECT_EQ(inspect("--pdf " + (dir / "nowhere" / "x.pdf").string() + " " + dxf).status, 1);
    EXPECT_FALSE(std::filesystem::exists(dir / "nowhere"));
    EXPECT_EQ(inspect(dxf + " --pdf").status, 2);

    ToolRun run = inspect("--png " + (dir / "view.png").string() + " --size 160x100 " + dxf);
    if (run.status == 1 && !std::filesystem::exists(dir / "view.png"))
        GTEST_SKIP() << "no headless GL context here";
    ASSERT_EQ(run.status, 0);
    // The signature, then width and height as the IHDR chunk's first two big-endian words.
    const std::string png = head(dir / "view.png", 24);
    EXPECT_EQ(png.substr(0, 8), "\x89PNG\r\n\x1a\n");
    EXPECT_EQ(png.substr(16), std::string("\0\0\0\xA0\0\0\0\x64", 8));
}

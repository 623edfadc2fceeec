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
    EXPECT_TRUE(InspectOptions::parse({"-h"}, error).help);
    EXPECT_TRUE(error.empty());
}

TEST(Inspect, printsASummaryPerFileAndFailsOnABadOne) {
    TempDir dir;
    {
        std::ofstream f(dir / "plan.dxf");
        f << "0\nSECTION\n2\nHEADER\n9\n$ACADVER\n1\nAC1015\n9\n$INSUNITS\n70\n4\n0\nENDSEC\n"
             "0\nSECTION\n2\nTABLES\n0\nLAYER\n2\nOff\n62\n-1\n0\nENDSEC\n"
             "0\nSECTION\n2\nENTITIES\n0\nLINE\n8\nOff\n10\n0\n20\n0\n11\n2000\n21\n0\n"
             "0\nCIRCLE\n10\n0\n20\n0\n40\n500\n0\nENDSEC\n0\nEOF\n";
    }
    ScopedEnv nativeOnly("VISTREL_FORCE_NATIVE_DXF", "1");
    ToolRun ok = inspect((dir / "plan.dxf").string());
    EXPECT_EQ(ok.status, 0);
    auto j = nlohmann::json::parse(ok.out);
    EXPECT_EQ(j["version"], "AC1015");
    EXPECT_EQ(j["versionLabel"], "AutoCAD DXF 2000");
    EXPECT_EQ(j["stats"]["edges"], 25);
    EXPECT_EQ(j["layers"], 2);
    EXPECT_EQ(j["hiddenLayers"], 1);
    // Millimetres to metres: the circle reaches to -0.5, the line to 2.
    EXPECT_NEAR(j["bounds"]["size"][0].get<double>(), 2.5, 1e-6);
    EXPECT_TRUE(j["scenes"].empty());
    EXPECT_GE(j["loadSeconds"].get<double>(), 0);

    {
        std::ofstream f(dir / "model.dwg");
        f << "AC1032 and nothing a reader could use";
    }
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

    EXPECT_EQ(inspect("--no-such-option").status, 2);
}

TEST(Inspect, pdfOfTheFirstViewIsWrittenOrFailsCleanly) {
    TempDir dir;
    {
        std::ofstream f(dir / "plan.dxf");
        f << "0\nSECTION\n2\nENTITIES\n0\nLINE\n8\n0\n10\n0\n20\n0\n11\n10\n21\n0\n"
             "0\nLINE\n8\n0\n10\n0\n20\n0\n11\n0\n21\n8\n0\nENDSEC\n0\nEOF\n";
    }
    ScopedEnv nativeOnly("VISTREL_FORCE_NATIVE_DXF", "1");
    ToolRun ok =
        inspect("--pdf " + (dir / "plan.pdf").string() + " " + (dir / "plan.dxf").string());
    EXPECT_EQ(ok.status, 0);
    EXPECT_EQ(nlohmann::json::parse(ok.out)["isPlanar2D"], true);
    std::ifstream pdf(dir / "plan.pdf", std::ios::binary);
    std::string head(5, '\0');
    pdf.read(head.data(), 5);
    EXPECT_EQ(head, "%PDF-");
    // An output folder that does not exist: status 1 and nothing written.
    ToolRun missing = inspect("--pdf " + (dir / "nowhere" / "x.pdf").string() + " " +
                              (dir / "plan.dxf").string());
    EXPECT_EQ(missing.status, 1);
    EXPECT_FALSE(std::filesystem::exists(dir / "nowhere"));
    // Several files or no path: a usage error.
    EXPECT_EQ(inspect("--pdf " + (dir / "a.pdf").string() + " " + (dir / "plan.dxf").string() +
                      " " + (dir / "plan.dxf").string())
                  .status,
              2);
    EXPECT_EQ(inspect((dir / "plan.dxf").string() + " --pdf").status, 2);
}

TEST(InspectOptions, pngSizeAndStyle) {
    std::string error;
    auto o = InspectOptions::parse(
        {"--png", "a.png", "--size", "320x200", "--style", "clay", "m.dxf"}, error);
    EXPECT_TRUE(error.empty()) << error;
    EXPECT_EQ(o.png, std::filesystem::path("a.png"));
    EXPECT_EQ(o.width, 320);
    EXPECT_EQ(o.height, 200);
    EXPECT_EQ(o.style, vistrel::viewport::ShadingStyle::clay);
    for (const char* bad : {"320", "x200", "0x10", "20000x10", "12ax4", "-5x5"}) {
        InspectOptions::parse({"--png", "a.png", "--size", bad, "m.dxf"}, error);
        EXPECT_NE(error.find("--size"), std::string::npos) << bad;
    }
    InspectOptions::parse({"--style", "Clay", "m.dxf"}, error);
    EXPECT_NE(error.find("--style"), std::string::npos);
}

TEST(Inspect, pngOfTheFirstViewIsRendered) {
    TempDir dir;
    {
        std::ofstream f(dir / "plan.dxf");
        f << "0\nSECTION\n2\nENTITIES\n0\n3DFACE\n8\n0\n10\n0\n20\n0\n30\n0\n11\n4\n21\n0\n31\n0\n"
             "12\n4\n22\n3\n32\n2\n13\n0\n23\n3\n33\n2\n0\nENDSEC\n0\nEOF\n";
    }
    ScopedEnv nativeOnly("VISTREL_FORCE_NATIVE_DXF", "1");
    ToolRun run = inspect("--png " + (dir / "view.png").string() + " --size 160x100 " +
                          (dir / "plan.dxf").string());
    if (run.status == 1 && !std::filesystem::exists(dir / "view.png"))
        GTEST_SKIP() << "no headless GL context here";
    ASSERT_EQ(run.status, 0);
    std::ifstream png(dir / "view.png", std::ios::binary);
    std::string head(8, '\0');
    png.read(head.data(), 8);
    EXPECT_EQ(head, "\x89PNG\r\n\x1a\n");
    // PNG width and height sit in the IHDR chunk at bytes 16 to 23.
    std::string ihdr(8, '\0');
    png.seekg(16);
    png.read(ihdr.data(), 8);
    EXPECT_EQ(uint8_t(ihdr[3]), 160);
    EXPECT_EQ(uint8_t(ihdr[7]), 100);
}

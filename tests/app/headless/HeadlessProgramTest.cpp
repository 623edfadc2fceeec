// The real program's headless modes with no display at all, as a script or a newcomer runs them.
#include <gtest/gtest.h>
#include <sys/wait.h>

#include <algorithm>
#include <cstdio>
#include <fstream>
#include <sstream>

#include <nlohmann/json.hpp>

#include "TestEnv.h"
#include "image/PNGFile.h"

using namespace vistrel;
using namespace vistrel::test;
using viewport::Image;

namespace {

// A square 3D face on layer 0: a drawing with faces, in a few bytes.
constexpr const char* kFaceDXF =
    "0\nSECTION\n2\nENTITIES\n0\n3DFACE\n8\n0\n10\n0\n20\n0\n30\n0\n11\n1\n21\n0\n31\n0\n"
    "12\n1\n22\n1\n32\n0\n13\n0\n23\n1\n33\n0\n0\nENDSEC\n0\nEOF\n";

struct Outcome {
    int status = -1;
    std::string out, err;
    nlohmann::json settings;  // what the run left in its own settings file
};

class HeadlessProgramTest : public ::testing::Test {
  protected:
    Outcome vistrel(const std::string& arguments, const std::string& environment = "") {
        const auto settings = home / ("settings" + std::to_string(++runs_) + ".json");
        const std::string command =
            "env -u DISPLAY -u WAYLAND_DISPLAY -u QT_QPA_PLATFORM -u VISTREL_LANG HOME=" +
            home.path().string() + " VISTREL_SETTINGS_FILE=" + settings.string() + " " +
            environment + " timeout 120 " VISTREL_BINARY " " + arguments + " 2>" +
            (home / "err").string();
        Outcome run;
        FILE* pipe = ::popen(command.c_str(), "r");
        char buffer[4096];
        for (size_t n; pipe && (n = std::fread(buffer, 1, sizeof buffer, pipe)) > 0;)
            run.out.append(buffer, n);
        const int status = pipe ? ::pclose(pipe) : -1;
        run.status = WIFEXITED(status) ? WEXITSTATUS(status) : -1;
        run.err = (std::stringstream() << std::ifstream(home / "err").rdbuf()).str();
        run.settings = nlohmann::json::parse(std::ifstream(settings), nullptr, false);
        return run;
    }
    // The cube, or `file`, in English; `last` keeps the run.
    Image shot(const std::string& environment, const std::string& file = "") {
        last = vistrel("--snapshot " + (home / "shot.png").string() + " " + file + " --lang en",
                       environment);
        EXPECT_EQ(last.status, 0) << last.err;
        return viewport::PNGFile::read(home / "shot.png").value_or(Image{});
    }
    std::string write(const std::string& name, const std::string& bytes) {
        std::ofstream(home / name, std::ios::binary) << bytes;
        return (home / name).string();
    }

    TempDir home;
    Outcome last;

  private:
    int runs_ = 0;
};

size_t differingPixels(const Image& a, const Image& b) {
    size_t count = 0;
    for (size_t i = 0; i + 3 < std::min(a.pixels.size(), b.pixels.size()); i += 4)
        count += !std::equal(&a.pixels[i], &a.pixels[i + 3], &b.pixels[i]);
    return count;
}

}  // namespace

TEST_F(HeadlessProgramTest, snapshotWritesTheWholeWindowOfTheCubeOrAFile) {
    const Outcome cube = vistrel("--snapshot '~/new folder/cube.png' --lang en");
    const std::string written = (home / "new folder/cube.png").string();
    EXPECT_EQ(cube.status, 0) << cube.err;
    EXPECT_TRUE(cube.out.starts_with("Snapshot written to " + written + " (")) << cube.out;
    const Image image = viewport::PNGFile::read(written).value_or(Image{});
    EXPECT_EQ(image.width, 1380);
    EXPECT_EQ(image.height, 820);

    const auto corpus = corpusDir();
    if (!corpus) GTEST_SKIP() << "corpus not present";
    const Image plan = shot("", (*corpus / "dxf/bnortierdxf__floorplan.dxf").string());
    EXPECT_GT(differingPixels(plan, image), 10'000u);
}

TEST_F(HeadlessProgramTest, snapshotEnvironmentChangesTheLookOnlyWhenWellFormed) {
    const Image plain = shot("");
    const size_t corner = size_t(200 * plain.width + plain.width - 40) * 4;  // backdrop
    const Image red = shot("VISTREL_SNAPSHOT_BG=1,0,0 VISTREL_SNAPSHOT_SSAO=1.5");
    EXPECT_GT(red.pixels.at(corner), 200);
    EXPECT_LT(red.pixels.at(corner + 1), 40);
    EXPECT_EQ(last.settings.value("ambientOcclusionIntensity", 0.0), 1.5);
    const Image malformed = shot("VISTREL_SNAPSHOT_BG=1,,0 'VISTREL_SNAPSHOT_SSAO= 0.5'");
    EXPECT_EQ(malformed.pixels.at(corner), plain.pixels.at(corner));
    EXPECT_FALSE(last.settings.contains("ambientOcclusionIntensity"));

    const Image dark = shot("VISTREL_SNAPSHOT_LIGHTING=point VISTREL_SNAPSHOT_LIGHT_INTENSITY=0");
    const Image bright = shot("VISTREL_SNAPSHOT_LIGHTING=point VISTREL_SNAPSHOT_LIGHT_INTENSITY=3");
    EXPECT_GT(differingPixels(dark, plain), 1'000u);
    EXPECT_GT(differingPixels(bright, dark), 1'000u);
}

TEST_F(HeadlessProgramTest, snapshotFailuresExitWithTheirStatusAndMessage) {
    const std::string broken = write("broken.skp", "not a SketchUp model");
    const std::string out = (home / "out.png").string();
    const Outcome fr = vistrel("--snapshot " + out + " " + broken + " --lang fr");
    const Outcome en = vistrel("--snapshot " + out + " " + broken + " --lang en");
    EXPECT_EQ(fr.status + en.status, 2);
    EXPECT_NE(fr.err.find("snapshot error: "), std::string::npos) << fr.err;
    EXPECT_NE(fr.err, en.err);
    EXPECT_FALSE(std::filesystem::exists(out));

    // Without EGL the 3D view stays empty: a failure, with the picture left to look at.
    const Outcome blank = vistrel("--snapshot " + out, "__EGL_VENDOR_LIBRARY_FILENAMES=/none");
    EXPECT_EQ(blank.status, 1);
    EXPECT_TRUE(blank.err.ends_with("snapshot error: the 3D viewport of " + out +
                                    " is uniform (nothing drawn)\n"))
        << blank.err;
    EXPECT_TRUE(std::filesystem::exists(out));

    const Outcome unknown = vistrel("--snapshot " + out + " --view nowhere");
    EXPECT_EQ(unknown.status, 2);
    EXPECT_TRUE(unknown.err.ends_with(
        "snapshot error: unknown VISTREL_SNAPSHOT_WINDOW nowhere (about, shortcuts, help, "
        "settings)\n"))
        << unknown.err;
    EXPECT_EQ(vistrel("--snapshot " + out, "VISTREL_SNAPSHOT_WINDOW=nowhere").status, 2);
}

TEST_F(HeadlessProgramTest, snapshotViewRendersEachPanelAloneAtItsOwnSize) {
    for (const std::string name : {"about", "shortcuts", "help", "settings"}) {
        const std::string out = (home / (name + ".png")).string();
        const Outcome run = vistrel("--snapshot " + out + " --view " + name + " --lang en");
        EXPECT_EQ(run.status, 0) << name << ": " << run.err;
        const Image panel = viewport::PNGFile::read(out).value_or(Image{});
        // The unit suite's picture of the same view, taken offscreen too.
        const Image expected =
            viewport::PNGFile::read(baselinesDir() / ("window_" + name + "_en.png"))
                .value_or(Image{});
        EXPECT_GT(panel.width, 0) << name;
        EXPECT_EQ(panel.width, expected.width) << name;
        EXPECT_EQ(panel.height, expected.height) << name;
    }
}

TEST_F(HeadlessProgramTest, snapshotMenuListsShortcutsChecksAndEnabling) {
    const std::string face = write("face.dxf", kFaceDXF);
    const Outcome view =
        vistrel("--snapshot x.png " + face + " --lang en", "VISTREL_SNAPSHOT_MENU=View");
    EXPECT_EQ(view.status, 0) << view.err;
    EXPECT_NE(view.out.find("\n⌘E  Edges ✓ — enabled\n"), std::string::npos) << view.out;
    EXPECT_NE(view.out.find("\n—\n⌘[  Previous Scene — disabled\n"), std::string::npos);
    const Outcome none = vistrel("--snapshot x.png --lang en", "VISTREL_SNAPSHOT_MENU=Nope");
    EXPECT_EQ(none.status, 1);
    EXPECT_TRUE(none.err.ends_with("menu error: no menu titled Nope\n")) << none.err;
}

TEST_F(HeadlessProgramTest, selfTestPassesWithoutOrWithAGoodFileAndCountsAMissingOne) {
    const Outcome alone = vistrel("--self-test");
    EXPECT_EQ(alone.status, 0) << alone.err;
    EXPECT_NE(alone.out.find("PASS: Viewport snapshot of the cube is non-uniform\n"),
              std::string::npos);
    EXPECT_TRUE(alone.out.ends_with("Vistrel self-test: ALL PASSED\n")) << alone.out;

    write("face.dxf", kFaceDXF);
    const Outcome good = vistrel("--self-test '~/face.dxf'");
    EXPECT_EQ(good.status, 0) << good.err;
    EXPECT_NE(good.out.find("PASS: face.dxf: 2 faces, "), std::string::npos) << good.out;

    const Outcome missing = vistrel("--self-test " + (home / "missing.skp").string());
    EXPECT_EQ(missing.status, 1);
    EXPECT_NE(missing.err.find("FAIL: missing.skp: "), std::string::npos) << missing.err;
    EXPECT_TRUE(missing.err.ends_with("\nVistrel self-test: 1 FAILURE(S)\n")) << missing.err;
}

#include <gtest/gtest.h>

#include <sys/wait.h>

#include <algorithm>
#include <array>
#include <cstdio>
#include <fstream>
#include <set>

#include "HeaderPreview.h"
#include "TestEnv.h"
#include "image/PNGFile.h"

using namespace vistrel;
using namespace vistrel::test;
using vistrel::viewport::Image;

namespace {

struct ToolRun {
    int status = -1;
    std::string err;
};

// Runs the real vistrel-thumbnailer as a file manager would and collects its standard error.
ToolRun thumbnail(int size, const std::filesystem::path& input,
                  const std::filesystem::path& output) {
    ToolRun r;
    std::string command = std::string(VISTREL_THUMBNAILER_BINARY) + " -s " + std::to_string(size) +
                          " '" + input.string() + "' '" + output.string() + "' 2>&1";
    FILE* p = popen(command.c_str(), "r");
    if (!p) return r;
    std::array<char, 4096> buffer;
    size_t n;
    while ((n = fread(buffer.data(), 1, buffer.size(), p)) > 0) r.err.append(buffer.data(), n);
    int status = pclose(p);
    r.status = WIFEXITED(status) ? WEXITSTATUS(status) : -1;
    return r;
}

std::set<std::string> listing(const std::filesystem::path& folder) {
    std::set<std::string> names;
    for (const auto& entry : std::filesystem::directory_iterator(folder))
        names.insert(entry.path().filename().string() + " " +
                     std::to_string(entry.last_write_time().time_since_epoch().count()));
    return names;
}

bool hasDetail(const Image& image) {
    for (int y = 0; y < image.height; ++y)
        for (int x = 0; x < image.width; ++x)
            if (!std::equal(image.pixel(x, y), image.pixel(x, y) + 3, image.pixel(0, 0)))
                return true;
    return false;
}

}  // namespace

TEST(Thumbnailer, writesAPictureOfEachFormatWithinTheAskedSizeAndLeavesTheInputFolderAlone) {
    auto corpus = corpusDir();
    if (!corpus) GTEST_SKIP() << "no corpus";
    TempDir inputs, outputs;
    // The SketchUp and DWG files carry their own preview, the first DXF a THUMBNAILIMAGE
    // section, the binary DXF none, so it is drawn.
    const std::pair<const char*, int> cases[] = {{"skp/testup2__Cube.skp", 96},
                                                 {"dwg/acadsharp__sample_AC1018.dwg", 100},
                                                 {"dxf/ezdxf__6_closed_loop_with_arcs.dxf", 128},
                                                 {"dxf/acadsharp__sample_AC1018_binary.dxf", 64}};
    for (const auto& [file, size] : cases) {
        const std::filesystem::path source = *corpus / file;
        std::filesystem::copy_file(source, inputs / source.filename().string());
    }
    const auto before = listing(inputs.path());
    for (const auto& [file, size] : cases) {
        const std::string name = std::filesystem::path(file).filename().string();
        const auto png = outputs / (name + ".png");
        ToolRun run = thumbnail(size, inputs / name, png);
        ASSERT_EQ(run.status, 0) << file << ": " << run.err;
        auto image = viewport::PNGFile::read(png);
        ASSERT_TRUE(image) << file;
        // The previews here are all larger than asked, so the longest side is exactly the size.
        EXPECT_EQ(std::max(image->width, image->height), size) << file;
        EXPECT_TRUE(hasDetail(*image)) << file;
    }
    EXPECT_EQ(listing(inputs.path()), before);
    EXPECT_EQ(std::distance(std::filesystem::directory_iterator(outputs.path()), {}),
              std::ptrdiff_t(std::size(cases)));
}

TEST(Thumbnailer, truncatedOrMissingFileFailsWithOneLineAndNoFile) {
    auto corpus = corpusDir();
    if (!corpus) GTEST_SKIP() << "no corpus";
    TempDir dir;
    // Cut before the DWG's preview block and in the middle of the DXF's entities.
    const std::pair<const char*, size_t> cuts[] = {
        {"dwg/acadsharp__sample_AC1018.dwg", 300},
        {"dxf/ezdxf__6_closed_loop_with_arcs.dxf", 4000}};
    std::vector<std::filesystem::path> inputs = {dir / "missing.dxf"};
    for (const auto& [file, keep] : cuts) {
        std::string bytes(keep, '\0');
        std::ifstream(*corpus / file, std::ios::binary).read(bytes.data(), std::streamsize(keep));
        inputs.push_back(dir / ("cut-" + std::filesystem::path(file).filename().string()));
        std::ofstream(inputs.back(), std::ios::binary) << bytes;
    }
    TempDir outputs;
    for (const auto& input : inputs) {
        ToolRun run = thumbnail(128, input, outputs / "out.png");
        EXPECT_EQ(run.status, 1) << input;
        EXPECT_EQ(std::count(run.err.begin(), run.err.end(), '\n'), 1) << run.err;
        EXPECT_TRUE(std::filesystem::is_empty(outputs.path())) << input;
    }
}

TEST(HeaderPreview, bottomUpPalettedBitmapComesOutTopFirstAndShrinksByAveraging) {
    // A 2 x 2, 8-bit DIB: two palette entries, rows stored bottom first, padded to 4 bytes.
    std::vector<uint8_t> dib(40 + 2 * 4 + 2 * 4, 0);
    auto put32 = [&](size_t at, uint32_t v) {
        for (int i = 0; i < 4; ++i) dib[at + i] = uint8_t(v >> (8 * i));
    };
    put32(0, 40);
    put32(4, 2);
    put32(8, 2);
    dib[12] = 1;
    dib[14] = 8;
    put32(32, 2);
    const uint8_t palette[] = {0, 0, 255, 0, 255, 0, 0, 0};  // red, blue (stored BGR)
    std::copy(std::begin(palette), std::end(palette), dib.begin() + 40);
    dib[48] = 1;  // bottom row: blue, red
    dib[52] = 0;  // top row: red, blue
    dib[53] = 1;
    auto image = thumbnailer::decodePreview(dib);
    ASSERT_TRUE(image);
    EXPECT_EQ(std::vector<uint8_t>(image->pixels.begin(), image->pixels.begin() + 8),
              (std::vector<uint8_t>{255, 0, 0, 255, 0, 0, 255, 255}));
    EXPECT_EQ(image->pixel(0, 1)[2], 255);

    Image one = thumbnailer::fitWithin(*image, 1);
    EXPECT_EQ(std::vector<uint8_t>(one.pixels.begin(), one.pixels.end()),
              (std::vector<uint8_t>{128, 0, 128, 255}));

    // Truncated pixel rows and a palette index past a short table are refused or read as black.
    EXPECT_FALSE(thumbnailer::decodePreview(std::span(dib).first(50)));
    dib[49] = 5;
    image = thumbnailer::decodePreview(dib);
    ASSERT_TRUE(image);
    EXPECT_EQ(image->pixel(1, 1)[0] + image->pixel(1, 1)[2], 0);
}

TEST(HeaderPreview, dxfThumbnailSectionHexJoinsAcrossLinesAndRejectsOddDigits) {
    auto bytes = [](std::string_view text) {
        return thumbnailer::dxfThumbnailBytes(
            std::span(reinterpret_cast<const uint8_t*>(text.data()), text.size()));
    };
    EXPECT_EQ(bytes("0\nSECTION\n2\nTHUMBNAILIMAGE\n90\n3\n310\n0A1b\r\n310\nFF\n0\nENDSEC\n"),
              (std::vector<uint8_t>{0x0A, 0x1B, 0xFF}));
    EXPECT_FALSE(bytes("0\nSECTION\n2\nTHUMBNAILIMAGE\n90\n3\n310\n0A1\n0\nENDSEC\n"));
    EXPECT_FALSE(bytes("0\nSECTION\n2\nENTITIES\n0\nENDSEC\n"));
}

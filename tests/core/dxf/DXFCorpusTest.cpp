// Every DXF of the shared corpus (real files, some broken, some binary) must load into a model or
// fail with a clean SKPError; how long each takes is for bench/DXFCorpusBench.
#include <gtest/gtest.h>

#include "TestEnv.h"
#include "dxf/DXFNativeParser.h"
#include "model/SKPError.h"
#include "sketchup/SKPReader.h"

using namespace vistrel;
using namespace vistrel::test;

namespace {

std::vector<std::filesystem::path> corpusDXFFiles() {
    std::vector<std::filesystem::path> files;
    auto dir = corpusDir();
    if (!dir || !std::filesystem::is_directory(*dir / "dxf")) return files;
    for (const auto& e : std::filesystem::directory_iterator(*dir / "dxf"))
        if (e.is_regular_file()) files.push_back(e.path());
    std::sort(files.begin(), files.end());
    return files;
}

SKPModel loadNative(const std::filesystem::path& path) {
    return DXFNativeParser::parse(path, SKPFileInfo::read(path), {}, {});
}

}  // namespace

TEST(DXFCorpus, everyFileLoadsWithItsBlocksBeforeTheirUsers) {
    auto files = corpusDXFFiles();
    if (files.empty()) GTEST_SKIP() << "corpus not present";
    ScopedEnv nativeOnly("VISTREL_FORCE_NATIVE_DXF", "1");
    for (const auto& path : files) {
        SKPModel m = SKPReader::load(path);
        EXPECT_FALSE(m.layers.empty()) << path;
        for (const Definition& d : m.definitions)
            for (const Instance& i : d.children)
                EXPECT_LT(i.definition, &d - m.definitions.data()) << path;
    }
}

TEST(DXFCorpus, binaryAndASCIICopiesOfOneDrawingGiveOneModel) {
    auto dir = corpusDir();
    if (!dir || !std::filesystem::exists(*dir / "dxf/acadsharp__sample_AC1009_binary.dxf"))
        GTEST_SKIP() << "corpus not present";
    for (const char* version : {"AC1009", "AC1018", "AC1032"}) {
        SCOPED_TRACE(version);
        std::string stem = std::string("acadsharp__sample_") + version;
        SKPModel ascii = loadNative(*dir / "dxf" / (stem + "_ascii.dxf"));
        SKPModel binary = loadNative(*dir / "dxf" / (stem + "_binary.dxf"));
        // The ASCII copy rounds its numbers; everything else must agree.
        Stats a = ascii.stats, b = binary.stats;
        a.loadSeconds = b.loadSeconds = 0;
        EXPECT_EQ(a, b);
        EXPECT_TRUE(ascii.layers == binary.layers);
        ASSERT_EQ(ascii.definitions.size(), binary.definitions.size());
        for (size_t i = 0; i < ascii.definitions.size(); ++i)
            EXPECT_EQ(ascii.definitions[i].name, binary.definitions[i].name);
        for (int k = 0; k < 3; ++k) {
            EXPECT_NEAR(ascii.boundsMin[k], binary.boundsMin[k], 1e-3);
            EXPECT_NEAR(ascii.boundsMax[k], binary.boundsMax[k], 1e-3);
        }
        EXPECT_GT(ascii.stats.edges, 0);
        // One frozen layer and one switched off.
        EXPECT_EQ(std::count_if(ascii.layers.begin(), ascii.layers.end(),
                                [](const Layer& l) { return !l.isVisible; }),
                  2);
    }
}

#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <fstream>
#include <iterator>

#include "TestEnv.h"
#include "cad/dwg/DWGLZ77.h"
#include "cad/dwg/DWGR2004Container.h"

using namespace vistrel;

namespace {

using Sentinel = std::array<uint8_t, 16>;
constexpr Sentinel headerStart{0xCF, 0x7B, 0x1F, 0x23, 0xFD, 0xDE, 0x38, 0xA9,
                               0x5F, 0x7C, 0x68, 0xB8, 0x4E, 0x6D, 0x33, 0x5F};
constexpr Sentinel classesStart{0x8D, 0xA1, 0xC4, 0xB8, 0xC4, 0xA9, 0xF8, 0xC5,
                                0xC0, 0xDC, 0xF4, 0x5F, 0xE7, 0xCF, 0xB6, 0x8A};
constexpr Sentinel previewStart{0x1F, 0x25, 0x6D, 0x07, 0xD4, 0x36, 0x28, 0x28,
                                0x9D, 0x57, 0xCA, 0x3F, 0x9D, 0x44, 0x10, 0x2B};

// An end sentinel is its start sentinel with every bit flipped.
Sentinel inverted(Sentinel s) {
    for (auto& b : s) b = uint8_t(~b);
    return s;
}

bool opensWith(std::span<const uint8_t> data, const Sentinel& s) {
    return data.size() >= s.size() && std::equal(s.begin(), s.end(), data.begin());
}

uint32_t le32(std::span<const uint8_t> b, size_t at) {
    return b[at] | b[at + 1] << 8 | b[at + 2] << 16 | uint32_t(b[at + 3]) << 24;
}

// The end sentinel of a section framed as start, RL size, data, CRC, end sits right after the
// size its own field gives (a CRC of 2 bytes, and 4 more bytes of size for R2010 and later).
bool closesAfterItsSize(std::span<const uint8_t> data, const Sentinel& start) {
    const Sentinel end = inverted(start);
    const size_t size = le32(data, 16);
    auto it = std::search(data.begin() + 20, data.end(), end.begin(), end.end());
    if (it == data.end()) return false;
    const size_t at = size_t(it - data.begin());
    return at >= 20 + size + 2 && at <= 20 + size + 2 + 8;
}

std::vector<uint8_t> readAll(const std::filesystem::path& p) {
    std::ifstream in(p, std::ios::binary);
    return {std::istreambuf_iterator<char>(in), {}};
}

const char* const r2004Files[] = {
    "dwg/acadsharp__sample_AC1018.dwg",
    "dwg/acadsharp__sample_AC1024.dwg",
    "dwg/acadsharp__sample_AC1027.dwg",
    "dwg/acadsharp__sample_AC1032.dwg",
    "dwg/acadsharp__empty.dwg",
    "dwg/ezdxf__dim_linear_tutorial.dwg",
    "dwg/gdal__Building_A_Floor_0_Mapwize.dwg",
    "dwg/libredwg__example_2004.dwg",
    "dwg/libredwg__example_2010.dwg",
    "dwg/libredwg__example_2013.dwg",
    "dwg/libredwg__example_2018.dwg",
    "dwg/testup2__material_texture_import.dwg",
};

}  // namespace

TEST(DWGContainer, r2004SectionsOpenWithTheirMarkersAndCloseAfterTheirSizes) {
    auto dir = test::corpusDir();
    if (!dir) GTEST_SKIP() << "no corpus";
    for (const char* name : r2004Files) {
        SCOPED_TRACE(name);
        const auto file = readAll(*dir / name);
        ASSERT_FALSE(file.empty());
        const DWGSections s = DWGR2004Container::read(file);
        EXPECT_TRUE(opensWith(s.header, headerStart));
        EXPECT_TRUE(closesAfterItsSize(s.header, headerStart));
        EXPECT_TRUE(opensWith(s.classes, classesStart));
        EXPECT_TRUE(closesAfterItsSize(s.classes, classesStart));
        ASSERT_GE(s.objects.size(), 4u);
        EXPECT_EQ(le32(s.objects, 0), 0x0DCAu);
        EXPECT_GT(s.handles.size(), 2u);
        if (!s.preview.empty()) {
            EXPECT_TRUE(opensWith(s.preview, previewStart));
        }
    }
}

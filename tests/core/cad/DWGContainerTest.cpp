#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <fstream>
#include <iterator>

#include "TestEnv.h"
#include "cad/dwg/DWGLZ77.h"
#include "cad/dwg/DWGR2004Container.h"
#include "cad/dwg/DWGR2007Container.h"
#include "cad/dwg/DWGR2007LZ.h"

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

const char* const containerFiles[] = {
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
    "dwg/acadsharp__sample_AC1021.dwg",
    "dwg/libredwg__example_2007.dwg",
};

DWGSections readContainer(std::span<const uint8_t> file) {
    const bool r2007 = file.size() >= 6 && std::equal(file.begin(), file.begin() + 6, "AC1021");
    return r2007 ? DWGR2007Container::read(file) : DWGR2004Container::read(file);
}

}  // namespace

TEST(DWGContainer, sectionsOpenWithTheirMarkersAndCloseAfterTheirSizes) {
    auto dir = test::corpusDir();
    if (!dir) GTEST_SKIP() << "no corpus";
    for (const char* name : containerFiles) {
        SCOPED_TRACE(name);
        const auto file = readAll(*dir / name);
        ASSERT_FALSE(file.empty());
        const DWGSections s = readContainer(file);
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

TEST(DWGContainer, cutFilesThrowFormatErrorsOnly) {
    auto dir = test::corpusDir();
    if (!dir) GTEST_SKIP() << "no corpus";
    for (const char* name :
         {"dwg/testup2__material_texture_import.dwg", "dwg/libredwg__example_2018.dwg",
          "dwg/acadsharp__empty.dwg", "dwg/libredwg__example_2007.dwg"}) {
        SCOPED_TRACE(name);
        const auto file = readAll(*dir / name);
        ASSERT_FALSE(file.empty());
        for (size_t cut = 0; cut < file.size(); cut += cut < 0x200 ? 1 : 1 + file.size() / 500) {
            SCOPED_TRACE(cut);
            EXPECT_THROW(readContainer(std::span(file).first(cut)), DWGFormatError);
        }
    }
}

namespace {

std::vector<uint8_t> inflate(std::vector<uint8_t> in, size_t capacity) {
    std::vector<uint8_t> out(capacity);
    out.resize(DWGLZ77::decompress(in, out));
    return out;
}

std::string text(const std::vector<uint8_t>& v) {
    return {v.begin(), v.end()};
}

}  // namespace

TEST(DWGContainer, lz77LiteralRunsAndBackReferences) {
    // 0x01 opens a 4-byte literal run; 0x11 ends the stream.
    EXPECT_EQ(text(inflate({0x01, 'a', 'b', 'c', 'd', 0x11}, 16)), "abcd");
    // A zero length byte extends the run: 0x0F + 0xFF + 5 + 3.
    std::vector<uint8_t> longRun{0x00, 0x00, 0x05};
    longRun.insert(longRun.end(), 278, 'z');
    longRun.push_back(0x11);
    EXPECT_EQ(inflate(longRun, 278), std::vector<uint8_t>(278, 'z'));
    // 0x7C: copy 6 bytes from 4 back, overlapping what it writes.
    EXPECT_EQ(text(inflate({0x01, 'a', 'b', 'c', 'd', 0x7C, 0x00, 0x11}, 16)), "abcdabcdab");
    // Two literals ride on the opcode's low bits.
    EXPECT_EQ(text(inflate({0x01, 'a', 'b', 'c', 'd', 0x7E, 0x00, 'x', 'y', 0x11}, 16)),
              "abcdabcdabxy");

    // 0x20 with a long count (0xFF * 64 + 28 + 0x21) repeats the last byte 0x3FFD times; then
    // 0x12 reaches 0x4000 + 1 back, to the very first byte.
    std::vector<uint8_t> far{0x01, 'a', 'b', 'c', 'd', 0x20, 0x00};
    far.insert(far.end(), 63, 0x00);
    far.insert(far.end(), {28, 0x00, 0x00, 0x12, 0x04, 0x00, 0x11});
    const auto farOut = inflate(far, 0x4005);
    ASSERT_EQ(farOut.size(), 0x4005u);
    EXPECT_EQ(text({farOut.end() - 5, farOut.end()}), "dabcd");
    EXPECT_EQ(std::count(farOut.begin(), farOut.end(), 'd'), 0x3FFD + 2);
}

TEST(DWGContainer, lz77RejectsWhatPointsOutside) {
    std::vector<uint8_t> out(64);
    auto fails = [&](std::vector<uint8_t> in) {
        EXPECT_THROW(DWGLZ77::decompress(in, out), DWGFormatError);
    };
    fails({0x01, 'a', 'b', 'c', 'd', 0x7C, 0x01, 0x11});              // 8 back from 4 bytes written
    fails({0x01, 'a', 'b', 'c', 'd', 0x20, 0x00, 0x01, 0, 0, 0x11});  // 289 bytes into 64
    fails({0x00, 0x00, 0x00});                                  // a literal count never closed
    fails({0x01, 'a', 'b'});                                    // a literal run cut short
    fails({0x01, 'a', 'b', 'c', 'd'});                          // no end opcode
    fails({0x01, 'a', 'b', 'c', 'd', 0x05, 0x11});              // a literal count for an opcode
    fails({0x01, 'a', 'b', 'c', 'd', 0x12, 0x00, 0x00, 0x11});  // 0x4000 back from 4 bytes
}

TEST(DWGContainer, r2007LiteralsAreShuffledAndReferencesCopied) {
    std::vector<uint8_t> out(64);
    // 0x02 opens a run of 10 literals stored as the last, eight in order, then the first;
    // 0x40 0x00 then repeats the last byte four times.
    const std::vector<uint8_t> in{0x02, '0', '1', '2', '3',  '4', '5',
                                  '6',  '7', '8', '9', 0x40, 0x00};
    out.resize(DWGR2007LZ::decompress(in, out));
    EXPECT_EQ(text(out), "91234567800000");

    std::vector<uint8_t> small(12);
    EXPECT_THROW(DWGR2007LZ::decompress(in, small), DWGFormatError);
    EXPECT_THROW(DWGR2007LZ::decompress({in.begin(), in.end() - 1}, out), DWGFormatError);
    const std::vector<uint8_t> far{0x02, '0', '1', '2', '3',  '4', '5',
                                   '6',  '7', '8', '9', 0x40, 0xF8};
    EXPECT_THROW(DWGR2007LZ::decompress(far, out), DWGFormatError);
}

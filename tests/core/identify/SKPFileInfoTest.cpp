#include "identify/SKPFileInfo.h"

#include <gtest/gtest.h>
#include <png.h>

#include <fstream>
#include <sstream>

#include "TestEnv.h"
#include "ThrownError.h"
#include "identify/DWGPreview.h"
#include "model/SKPError.h"

using namespace vistrel;

namespace {

std::vector<uint8_t> bytes(const std::string& s) {
    return {s.begin(), s.end()};
}

std::vector<uint8_t> concat(std::initializer_list<std::vector<uint8_t>> parts) {
    std::vector<uint8_t> r;
    for (auto& p : parts) r.insert(r.end(), p.begin(), p.end());
    return r;
}

bool decodesAsPNG(const std::vector<uint8_t>& data) {
    png_image image{};
    image.version = PNG_IMAGE_VERSION;
    if (!png_image_begin_read_from_memory(&image, data.data(), data.size())) return false;
    image.format = PNG_FORMAT_RGBA;
    std::vector<uint8_t> pixels(PNG_IMAGE_SIZE(image));
    bool ok = png_image_finish_read(&image, nullptr, pixels.data(), 0, nullptr);
    png_image_free(&image);
    return ok && image.width > 0 && image.height > 0;
}

}  // namespace

TEST(SKPFileInfo, versionLabelsAndDWGHeaders) {
    const std::pair<const char*, std::optional<std::string>> labels[] = {
        {"7.1.6", "SketchUp 7"},   {"13.0", "SketchUp 2013"},
        {"2024", "SketchUp 2024"}, {"100", "SketchUp 100"},
        {"v24", std::nullopt},     {"99999999999999999999999", std::nullopt}};
    for (const auto& [version, label] : labels) EXPECT_EQ(SKPFileInfo::label(version), label);
    // "AC10" and two alphanumerics.
    EXPECT_EQ(SKPFileInfo::parseDWGVersion(bytes("AC1032rest")), "AC1032");
    for (const char* bad : {"AC10 2", "AC103", "AC1.40"})
        EXPECT_EQ(SKPFileInfo::parseDWGVersion(bytes(bad)), std::nullopt) << bad;
    EXPECT_EQ(SKPFileInfo::dwgLabel("AC1009", false), "AutoCAD R11/R12");
    EXPECT_EQ(SKPFileInfo::dwgLabel("AC1099", false), "AutoCAD DWG");
    EXPECT_EQ(SKPFileInfo::dwgLabel("AC1099", true), "AutoCAD DXF");
}

TEST(SKPFileInfo, dxfSniffingByContentAndExtension) {
    // A DWG header in a .dxf file counts as DXF; a .dwg extension is DWG whatever the content.
    auto info = SKPFileInfo::parse(bytes("AC1032\0\0\0"), "/x/plan.dxf", 9);
    EXPECT_EQ(info.versionLabel, "AutoCAD 2018");
    EXPECT_TRUE(info.isDXF() && !info.isDWG());
    EXPECT_TRUE(SKPFileInfo::parse(bytes("hello"), "/x/a.DWG", 5).isDWG());

    const std::string body = "  0\nSECTION\n  2\nHEADER\n  9\n$ACADVER\n  1\nAC1015\n  0\nENDSEC\n";
    auto txt = SKPFileInfo::parse(bytes(body), "/x/plan.txt", int64_t(body.size()));
    EXPECT_EQ(txt.version, "AC1015");
    EXPECT_EQ(txt.versionLabel, "AutoCAD DXF 2000");
    EXPECT_FALSE(txt.isDXF());  // recognised by content, but the extension decides isDXF

    // SECTION without HEADER/ENTITIES/TABLES only counts with a .dxf extension.
    EXPECT_EQ(SKPFileInfo::parseDXFVersion(bytes("0\nSECTION\n2\nOBJECTS\n"), "/x/a.txt"),
              std::nullopt);
    using Found = std::optional<std::pair<std::string, std::string>>;
    EXPECT_EQ(SKPFileInfo::parseDXFVersion(bytes("just some words"), "/x/a.dxf"),
              Found({"DXF", "AutoCAD DXF"}));
    // The markers must sit in the first 32 KiB.
    std::string late(40'000, 'x');
    late += "SECTION HEADER";
    EXPECT_EQ(SKPFileInfo::parseDXFVersion(bytes(late), "/x/a.txt"), std::nullopt);
    // $ACADVER whose first four pieces hold no code.
    EXPECT_EQ(
        SKPFileInfo::parseDXFVersion(bytes("SECTION HEADER $ACADVER 1 2 3 4 AC1015"), "/x/a.txt"),
        Found({"DXF", "AutoCAD DXF"}));
}

TEST(SKPFileInfo, thumbnailIsCarvedToFirstIendAndCrcWithinTheHeader) {
    // A 1x1 grey PNG written by libpng.
    std::vector<uint8_t> png;
    {
        png_image image{};
        image.version = PNG_IMAGE_VERSION;
        image.width = image.height = 1;
        image.format = PNG_FORMAT_GRAY;
        uint8_t pixel = 128;
        png_alloc_size_t size = 0;
        ASSERT_TRUE(png_image_write_to_memory(&image, nullptr, &size, 0, &pixel, 0, nullptr));
        png.resize(size);
        ASSERT_TRUE(png_image_write_to_memory(&image, png.data(), &size, 0, &pixel, 0, nullptr));
    }
    auto header = concat({bytes("prefix"), png, bytes("suffix"), png});
    EXPECT_EQ(SKPFileInfo::thumbnail(header), png);  // the first one
    // CRC cut off by the end of the header: none.
    auto cut = concat({bytes("x"), std::vector<uint8_t>(png.begin(), png.end() - 2)});
    EXPECT_EQ(SKPFileInfo::thumbnail(cut), std::nullopt);
    std::vector<uint8_t> sig(png.begin(), png.begin() + 8);
    EXPECT_EQ(SKPFileInfo::thumbnail(concat({sig, bytes("no end")})), std::nullopt);
    // Carved, not parsed: bad CRCs, foreign bytes in the chunks and a stray "IEND" inside the
    // image data do not stop the carve, which ends four bytes after the first "IEND".
    auto spliced = png;
    spliced.insert(spliced.begin() + 20, {'D', 'W', 'G', '!'});
    EXPECT_EQ(SKPFileInfo::thumbnail(concat({spliced, bytes("tail")})), spliced);
    auto stray = concat({sig, bytes("IDATxxIENDabcdIENDefgh")});
    EXPECT_EQ(SKPFileInfo::thumbnail(concat({stray, bytes("more")})),
              concat({sig, bytes("IDATxxIENDabcd")}));
}

TEST(SKPFileInfo, readReportsSizeAndFailsCleanly) {
    test::TempDir dir;
    auto empty = dir / "empty.skp";
    std::ofstream(empty).close();
    auto info = SKPFileInfo::read(empty);
    EXPECT_EQ(info.fileSize, 0);
    EXPECT_FALSE(info.version || info.versionLabel || info.thumbnailPNG);
    EXPECT_EQ(test::thrownError([&] { SKPFileInfo::read(dir / "missing.dxf"); }),
              SKPError::unreadable(dir / "missing.dxf"));
    EXPECT_THROW(SKPFileInfo::read(dir.path()), SKPError);

    // Only the first MiB is read, but the size is the file's.
    auto big = dir / "big.dxf";
    std::ofstream(big, std::ios::binary) << std::string(2 << 20, ' ') << "SECTION";
    auto bigInfo = SKPFileInfo::read(big);
    EXPECT_EQ(bigInfo.fileSize, 2 * (1 << 20) + 7);
    EXPECT_EQ(bigInfo.version, "DXF");
}

// Every real file in the shared corpus gives the version its header implies.
TEST(SKPFileInfo, corpusFilesIdentifyAsTheirHeadersImply) {
    auto corpus = test::corpusDir();
    if (!corpus) GTEST_SKIP() << "corpus not present";
    std::ifstream manifest(*corpus / "MANIFEST.tsv");
    ASSERT_TRUE(manifest);
    std::string line;
    std::getline(manifest, line);
    int checked = 0, thumbnails = 0;
    while (std::getline(manifest, line)) {
        std::vector<std::string> cols;
        std::stringstream ss(line);
        for (std::string c; std::getline(ss, c, '\t');) cols.push_back(c);
        ASSERT_GE(cols.size(), 9u) << line;
        const std::string &file = cols[0], &detected = cols[6], &format = cols[8];
        const std::string notes = cols.size() > 11 ? cols[11] : "";
        SCOPED_TRACE(file);
        auto info = SKPFileInfo::read(*corpus / file);

        // What the header implies: a SketchUp version in braces, an "AC10xx" code, or only "DXF".
        std::optional<std::string> version, label;
        if (format == "skp" && detected != "(none)") {
            version = detected.substr(1, detected.size() - 2);
            label = SKPFileInfo::label(*version);
        } else if (format == "dxf-binary") {
            version = "DXF", label = "AutoCAD Binary DXF";
        } else if (format != "skp" && detected.size() == 6 && detected.starts_with("AC10")) {
            version = detected, label = SKPFileInfo::dwgLabel(detected, format != "dwg");
        } else if (format == "dxf-ascii") {
            version = "DXF", label = "AutoCAD DXF";
        }
        if (version) {
            EXPECT_EQ(info.version, version);
            EXPECT_EQ(info.versionLabel, label);
        } else {  // nothing recognisable: neither a SketchUp version nor an AutoCAD code
            EXPECT_FALSE(info.version && (SKPFileInfo::label(*info.version).has_value() ||
                                          info.version->starts_with("AC10")));
        }
        EXPECT_EQ(info.isDWG(), format == "dwg");
        // "PNG thumbnail at byte N (WxH, S bytes)": the carve is those S bytes, an image.
        size_t at = notes.find("PNG thumbnail at byte");
        EXPECT_TRUE(format == "dwg" || info.thumbnailPNG.has_value() == (at != std::string::npos));
        if (info.thumbnailPNG && at != std::string::npos) {
            size_t comma = notes.find(", ", at);
            EXPECT_EQ(std::to_string(info.thumbnailPNG->size()) + " bytes)",
                      notes.substr(comma + 2, notes.find(')', comma) - comma - 1));
            EXPECT_TRUE(decodesAsPNG(*info.thumbnailPNG));
            ++thumbnails;
        }
        ++checked;
    }
    EXPECT_GT(checked, 150);
    EXPECT_GT(thumbnails, 10);
}

namespace {

// The size and pixels of a PNG, or nothing when it does not decode.
std::optional<std::pair<png_uint_32, std::vector<uint8_t>>> decodeRGB(
    const std::vector<uint8_t>& data) {
    png_image image{};
    image.version = PNG_IMAGE_VERSION;
    if (!png_image_begin_read_from_memory(&image, data.data(), data.size())) return std::nullopt;
    image.format = PNG_FORMAT_RGB;
    std::vector<uint8_t> pixels(PNG_IMAGE_SIZE(image));
    bool ok = png_image_finish_read(&image, nullptr, pixels.data(), 0, nullptr);
    png_image_free(&image);
    if (!ok) return std::nullopt;
    return std::pair{image.width << 16 | image.height, pixels};
}

}  // namespace

TEST(SKPFileInfo, dwgBitmapPreviewBecomesPNG) {
    // A 3x2 palette bitmap, rows bottom-up and padded to 4 bytes.
    std::vector<uint8_t> dib(40, 0);
    dib[0] = 40, dib[4] = 3, dib[8] = 2, dib[12] = 1, dib[14] = 8, dib[32] = 3;
    for (uint8_t c : {0, 0, 255, 0, /**/ 0, 255, 0, 0, /**/ 255, 0, 0, 0}) dib.push_back(c);
    for (uint8_t i : {2, 2, 2, 0, /**/ 0, 1, 2, 0}) dib.push_back(i);
    auto png = DWGPreview::pngFromDIB(dib);
    ASSERT_TRUE(png);
    auto rgb = decodeRGB(*png);
    ASSERT_TRUE(rgb);
    EXPECT_EQ(rgb->first, png_uint_32(3 << 16 | 2));
    const std::vector<uint8_t> expected{255, 0, 0,   0, 255, 0,   0, 0, 255,  // top: red green blue
                                        0,   0, 255, 0, 0,   255, 0, 0, 255};
    EXPECT_EQ(rgb->second, expected);
    dib[52] = 7;  // an index past the palette
    EXPECT_FALSE(DWGPreview::pngFromDIB(dib));
    EXPECT_FALSE(DWGPreview::pngFromDIB(std::span(dib).first(50)));

    // Through the header of real files: a bitmap (2000, 2004, 2007) or a stored PNG (2018).
    auto corpus = test::corpusDir();
    if (!corpus) GTEST_SKIP() << "corpus not present";
    for (const char* name :
         {"dwg/libredwg__example_2000.dwg", "dwg/acadsharp__sample_AC1018.dwg",
          "dwg/libredwg__example_2007.dwg", "dwg/acadsharp__sample_AC1032.dwg"}) {
        SCOPED_TRACE(name);
        auto info = SKPFileInfo::read(*corpus / name);
        ASSERT_TRUE(info.thumbnailPNG);
        auto image = decodeRGB(*info.thumbnailPNG);
        ASSERT_TRUE(image);
        EXPECT_GT(image->first >> 16, 32u);
        // A drawing, not a blank: more than one colour.
        const auto& p = image->second;
        bool varied = false;
        for (size_t i = 3; i < p.size() && !varied; ++i) varied = p[i] != p[i % 3];
        EXPECT_TRUE(varied);
    }
}

#include "cad/dwg/DWGFrontEnd.h"

#include "cad/dwg/DWGR2000Container.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cctype>
#include <cmath>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <map>
#include <set>
#include <string>
#include <utility>
#include <vector>

#include "ScopedLanguage.h"
#include "cad/CADImporter.h"
#include "cad/DXFFrontEnd.h"
#include "cad/dwg/DWGVersion.h"
#include "identify/SKPFileInfo.h"
#include "model/SKPError.h"

namespace vistrel {
namespace {

std::filesystem::path corpus() {
    const char* env = std::getenv("VISTREL_TEST_CORPUS_DIR");
    return env ? env : VISTREL_TEST_CORPUS_DIR;
}

std::vector<uint8_t> bytesOf(const std::filesystem::path& p) {
    std::ifstream in(p, std::ios::binary);
    return {std::istreambuf_iterator<char>(in), {}};
}

std::string lower(std::string s) {
    for (char& c : s) c = char(std::tolower(uint8_t(c)));
    return s;
}

// What the oracle compares: entity counts by kind, the bounds of the points of the kinds
// read alike, layers with their states, blocks with base points and entity counts. Leader
// polylines (with arrowheads) and MTEXT, of LEADER and MULTILEADER too, are also counted;
// `apart` leaves them out of the kinds and bounds, for twins drawn from another drawing.
struct Summary {
    std::map<int, int> kinds;
    int mtexts = 0, leaders = 0;
    double lo[3] = {HUGE_VAL, HUGE_VAL, HUGE_VAL}, hi[3] = {-HUGE_VAL, -HUGE_VAL, -HUGE_VAL};
    std::map<std::string, std::string> layers;
    std::multiset<std::string> blocks;

    void add(const CADPoint& p) {
        const double v[3] = {p.x, p.y, p.z};
        for (int i = 0; i < 3; ++i) {
            lo[i] = std::min(lo[i], v[i]);
            hi[i] = std::max(hi[i], v[i]);
        }
    }
};

using Kind = CADEntity::Kind;

Summary summarize(const CADDrawing& d, bool apart) {
    Summary s;
    for (const CADEntity& e : d.entities) {
        const bool leader = e.kind == Kind::polyline && e.arrowhead;
        const bool mtext = e.kind == Kind::text && d.texts[e.detail].mtext;
        s.leaders += leader;
        s.mtexts += mtext;
        if (apart && (leader || mtext)) continue;
        ++s.kinds[int(e.kind)];
        switch (e.kind) {
            case Kind::line:
                s.add(e.a);
                s.add(e.b);
                break;
            case Kind::circle:
            case Kind::arc:
            case Kind::point:
            case Kind::ellipse:
                s.add(e.a);
                break;
            case Kind::polyline:
            case Kind::polyface:
            case Kind::face:
                for (uint32_t i = 0; i < e.count; ++i) s.add(d.vertices[e.first + i].position);
                break;
            case Kind::text:
                s.add(d.texts[e.detail].insertion);
                break;
            case Kind::spline:
                for (const CADPoint& p : d.splines[e.detail].control) s.add(p);
                for (const CADPoint& p : d.splines[e.detail].fit) s.add(p);
                break;
            case Kind::hatch:
                for (const CADHatchLoop& loop : d.hatches[e.detail].loops) {
                    for (const CADVertex& v : loop.polyline) s.add(v.position);
                    for (const CADHatchEdge& edge : loop.edges) s.add(edge.a);
                }
                break;
            case Kind::dimension:  // drawn by a block that must be found
                if (e.block >= 0 && d.blocks[size_t(e.block)].defined) ++s.kinds[-1];
                break;
            default:
                break;
        }
    }
    for (const CADLayer& l : d.layers)
        s.layers[lower(l.name)] = std::string(l.off ? "off" : "on") + (l.frozen ? " frozen" : "");
    for (const CADBlock& b : d.blocks) {
        if (!b.defined) continue;
        std::map<int, int> kinds;
        for (const CADEntity& e : b.entities) ++kinds[int(e.kind)];
        char text[96];
        std::snprintf(text, sizeof text, "(%.6g %.6g %.6g)", b.base.x, b.base.y, b.base.z);
        // Anonymous blocks are numbered on loading, differently by each program: they are
        // compared by their contents.
        std::string name = lower(b.name);
        if (name.size() > 1 && name[0] == '*' && name.rfind("*model", 0) != 0 &&
            name.rfind("*paper", 0) != 0)
            name.resize(2);
        name += text;
        for (auto [k, n] : kinds) name += " " + std::to_string(k) + ":" + std::to_string(n);
        s.blocks.insert(name);
    }
    return s;
}

CADDrawing readDWG(const std::vector<uint8_t>& bytes) {
    return DWGFrontEnd(bytes, {}, {}).read();
}

// From R2010 the ACadSharp sample's LEADER comes without its arrowhead. The R13 and R14 DXF
// twins were written from a later drawing, without the R14 file's LEADER and its MTEXT:
// ACAD_TABLE and ARC_DIMENSION became inserts of extra *X and *T blocks there, and they lack the
// paper space layouts.
TEST(DWGFrontEnd, drawingsMatchTheirDXFTwins) {
    struct Pair {
        const char *dwg, *dxf;
        bool sameBlocks;
        bool arrowsRead = true;  // false: a LEADER's arrowhead bit is not read right yet
    };
    const Pair pairs[] = {
        {"dwg/libredwg__example_2000.dwg", "dxf/libredwg__example_2000.dxfb", true},
        {"dwg/acadsharp__sample_AC1015.dwg", "dxf/acadsharp__sample_AC1015_ascii.dxf", true},
        {"dwg/libredwg__example_r14.dwg", "dxf/libredwg__example_r14.dxf", false},
        {"dwg/libredwg__example_r13.dwg", "dxf/libredwg__example_r13.dxf", false},
        {"dwg/libredwg__example_2007.dwg", "dxf/libredwg__example_2007.dxf", true},
        {"dwg/libredwg__example_2018.dwg", "dxf/libredwg__example_2018.dxf", true},
        {"dwg/acadsharp__sample_AC1018.dwg", "dxf/acadsharp__sample_AC1018_ascii.dxf", true},
        {"dwg/acadsharp__sample_AC1021.dwg", "dxf/acadsharp__sample_AC1021_ascii.dxf", true},
        {"dwg/acadsharp__sample_AC1024.dwg", "dxf/acadsharp__sample_AC1024_ascii.dxf", true, false},
        {"dwg/acadsharp__sample_AC1027.dwg", "dxf/acadsharp__sample_AC1027_ascii.dxf", true, false},
        {"dwg/acadsharp__sample_AC1032.dwg", "dxf/acadsharp__sample_AC1032_ascii.dxf", true, false},
    };
    for (const Pair& pair : pairs) {
        SCOPED_TRACE(pair.dwg);
        if (!std::filesystem::exists(corpus() / pair.dwg)) GTEST_SKIP() << "no corpus";
        Summary got = summarize(readDWG(bytesOf(corpus() / pair.dwg)), !pair.sameBlocks);
        const std::vector<uint8_t> twin = bytesOf(corpus() / pair.dxf);
        Summary want = summarize(DXFFrontEnd(twin, {}, {}, nullptr).read(), !pair.sameBlocks);
        if (!pair.sameBlocks) {
            EXPECT_LE(got.kinds[int(Kind::insert)], want.kinds[int(Kind::insert)]);
            got.kinds.erase(int(Kind::insert));
            want.kinds.erase(int(Kind::insert));
        }
        if (!pair.arrowsRead) {  // such a LEADER comes as a plain polyline
            EXPECT_LE(got.kinds[int(Kind::polyline)],
                      want.kinds[int(Kind::polyline)] + want.leaders);
            got.kinds.erase(int(Kind::polyline));
            want.kinds.erase(int(Kind::polyline));
        }
        EXPECT_EQ(got.kinds, want.kinds);
        if (pair.sameBlocks) {
            EXPECT_EQ(got.mtexts, want.mtexts);
            if (pair.arrowsRead)
                EXPECT_EQ(got.leaders, want.leaders);
            else
                EXPECT_LE(got.leaders, want.leaders);
        }
        EXPECT_GT(got.mtexts, 0);
        for (int i = 0; i < 3; ++i) {
            const double tolerance =
                1e-6 * std::max({1.0, std::abs(want.lo[i]), std::abs(want.hi[i])});
            EXPECT_NEAR(got.lo[i], want.lo[i], tolerance) << "axis " << i;
            EXPECT_NEAR(got.hi[i], want.hi[i], tolerance) << "axis " << i;
        }
        EXPECT_EQ(got.layers, want.layers);
        if (pair.sameBlocks) {
            EXPECT_EQ(got.blocks, want.blocks);
        } else {
            for (const std::string& b : got.blocks) {
                if (b.rfind("*paper", 0) == 0 || b.rfind("*model", 0) == 0) continue;
                EXPECT_TRUE(want.blocks.count(b)) << b;
            }
        }
    }
}

// Every DWG of the corpus loads, or fails naming its release when it is one not read yet.
TEST(DWGFrontEnd, corpusFilesLoadOrNameTheirRelease) {
    test::ScopedLanguage english(AppLanguage::en);
    if (!std::filesystem::exists(corpus() / "dwg")) GTEST_SKIP() << "no corpus";
    int loaded = 0, refused = 0;
    for (const auto& entry : std::filesystem::directory_iterator(corpus() / "dwg")) {
        SCOPED_TRACE(entry.path().filename().string());
        const std::vector<uint8_t> bytes = bytesOf(entry.path());
        const std::string code(bytes.begin(), bytes.begin() + std::min<size_t>(6, bytes.size()));
        const bool readable = dwgVersion(code).has_value();
        try {
            const SKPModel model =
                CADImporter::parseBytes(bytes, SKPFileInfo::parse(bytes, entry.path(), 0));
            EXPECT_TRUE(readable);
            ++loaded;
        } catch (const SKPError& e) {
            // A release that is read fails only when damaged (a bare signature), naming itself.
            EXPECT_EQ(e.kind(), SKPError::Kind::unreadable);
            EXPECT_NE(e.errorDescription().find(readable ? "Damaged DWG " + code : "(" + code),
                      std::string::npos)
                << e.errorDescription();
            if (!readable) {
                EXPECT_NE(e.errorDescription().find("is not read yet"), std::string::npos)
                    << e.errorDescription();
            }
            ++refused;
        }
    }
    EXPECT_EQ(loaded, 24);
    EXPECT_GT(refused, 0);

    test::ScopedLanguage french(AppLanguage::fr);
    const std::vector<uint8_t> r12 = bytesOf(corpus() / "dwg/libredwg__r11_entities-3d.dwg");
    try {
        readDWG(r12);
        ADD_FAILURE() << "an R12 drawing was read";
    } catch (const SKPError& e) {
        EXPECT_EQ(
            e.errorDescription(),
            "Fichier illisible : Cette version de DWG (AC1009, R11/R12) n'est pas encore lue");
    }
}

TEST(DWGFrontEnd, cancellationStopsTheRead) {
    const std::filesystem::path path = corpus() / "dwg/libredwg__example_2000.dwg";
    if (!std::filesystem::exists(path)) GTEST_SKIP() << "no corpus";
    const std::vector<uint8_t> bytes = bytesOf(path);
    double reached = 0;
    const SKPReader::ProgressCallback progress = [&](const SKPReader::Progress& p) {
        reached = std::max(reached, p.fraction.value_or(0));
    };
    const SKPReader::CancelCheck cancel = [] { return true; };
    try {
        DWGFrontEnd(bytes, progress, cancel).read();
        ADD_FAILURE() << "not cancelled";
    } catch (const SKPError& e) {
        EXPECT_EQ(e.kind(), SKPError::Kind::cancelled);
    }
    EXPECT_GT(reached, 0.1);
}

// A file cut anywhere fails with an error or yields part of its drawing, never more.
TEST(DWGFrontEnd, cutFilesFailCleanly) {
    const std::filesystem::path path = corpus() / "dwg/libredwg__example_2000.dwg";
    if (!std::filesystem::exists(path)) GTEST_SKIP() << "no corpus";
    const std::vector<uint8_t> whole = bytesOf(path);
    const size_t full = readDWG(whole).entities.size();
    int failed = 0;
    for (size_t cut = 0; cut < whole.size(); cut += whole.size() / 97 + 1) {
        const std::vector<uint8_t> part(whole.begin(), whole.begin() + cut);
        try {
            EXPECT_LE(readDWG(part).entities.size(), full) << cut;
        } catch (const SKPError& e) {
            EXPECT_EQ(e.kind(), SKPError::Kind::unreadable) << cut;
            ++failed;
        }
    }
    EXPECT_GT(failed, 0);

    // A byte changed in the object map fails its section's CRC.
    std::vector<uint8_t> garbled = whole;
    const uint32_t mapAt =
        uint32_t(whole[0x19 + 2 * 9 + 1]) | uint32_t(whole[0x19 + 2 * 9 + 2]) << 8 |
        uint32_t(whole[0x19 + 2 * 9 + 3]) << 16 | uint32_t(whole[0x19 + 2 * 9 + 4]) << 24;
    ASSERT_EQ(whole[0x19 + 2 * 9], 2);  // the third locator is the object map's
    garbled[mapAt + 10] ^= 0x10;
    try {
        readDWG(garbled);
        ADD_FAILURE() << "a garbled object map was read";
    } catch (const SKPError& e) {
        EXPECT_NE(e.errorDescription().find("CRC"), std::string::npos) << e.errorDescription();
    }
}

TEST(DWGFrontEnd, r2000ContainerFindsItsSectionsAndPreview) {
    const std::filesystem::path path = corpus() / "dwg/libredwg__example_2000.dwg";
    if (!std::filesystem::exists(path)) GTEST_SKIP() << "no corpus";
    const std::vector<uint8_t> bytes = bytesOf(path);
    const DWGSections s = DWGR2000Container::read(bytes, DWGVersion::r2000);
    EXPECT_EQ(s.codePage, 30);
    // Each section opens with its sentinel; the preview's size follows its own.
    EXPECT_EQ(s.header.first(2)[0], 0xCF);
    EXPECT_EQ(s.classes.first(2)[0], 0x8D);
    ASSERT_EQ(s.preview.size(), 20u + 24347u);
    EXPECT_EQ(s.preview[0], 0x1F);
    EXPECT_EQ(s.objects.size(), bytes.size());
    EXPECT_THROW(DWGR2000Container::read(std::span(bytes).first(40), DWGVersion::r2000),
                 DWGFormatError);
}

}  // namespace
}  // namespace vistrel

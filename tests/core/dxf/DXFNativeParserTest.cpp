// Built twice: as is for DXFNativeParser, and with DXF_THROUGH_IMPORTER for CADImporter, which
// must keep every rule the narrow parser keeps.
#include "dxf/DXFNativeParser.h"

#include <gtest/gtest.h>

#include <cmath>
#include <fstream>

#include "TestEnv.h"
#include "ThrownError.h"
#include "ViewportTestModels.h"
#include "model/SKPError.h"

#ifdef DXF_THROUGH_IMPORTER
#include "cad/CADImporter.h"
#define DXF_SUITE CADImporter
namespace Reader = vistrel::CADImporter;
#else
#define DXF_SUITE DXFNativeParser
namespace Reader = vistrel::DXFNativeParser;
#endif

using namespace vistrel;
using namespace vistrel::test;

namespace {

// Small DXF texts: (code, value) pairs, one per two lines.
using Tags = std::vector<std::pair<int, std::string>>;

Tags operator+(Tags a, const Tags& b) {
    a.insert(a.end(), b.begin(), b.end());
    return a;
}

std::string dxfText(const Tags& tags) {
    std::string s;
    for (const auto& [code, value] : tags) s += std::to_string(code) + "\n" + value + "\n";
    return s;
}

std::string entitiesText(const Tags& body, const Tags& header = {}) {
    return dxfText(header + Tags{{0, "SECTION"}, {2, "ENTITIES"}} + body +
                   Tags{{0, "ENDSEC"}, {0, "EOF"}});
}

Tags headerUnits(int insUnits) {
    return {{0, "SECTION"}, {2, "HEADER"},    {9, "$ACADVER"},
            {1, "AC1015"},  {9, "$INSUNITS"}, {70, std::to_string(insUnits)},
            {0, "ENDSEC"}};
}

SKPModel parseDXF(const std::string& text, const SKPReader::CancelCheck& isCancelled = {}) {
    SKPFileInfo info;
    info.url = "test.dxf";
    info.version = "DXF";
    std::span<const uint8_t> bytes(reinterpret_cast<const uint8_t*>(text.data()), text.size());
    return Reader::parseBytes(bytes, info, {}, isCancelled);
}

size_t edgeCount(const Definition& d) {
    size_t n = 0;
    for (const EdgeSet& e : d.edges) n += e.positions.size() / 2;
    return n;
}

size_t triangleCount(const Definition& d) {
    size_t n = 0;
    for (const Mesh& m : d.meshes) n += m.indices.size() / 3;
    return n;
}

// Numbers as a file writes them: flags whole, coordinates with decimals.
template <class Number>
std::string n(Number v) {
    return std::to_string(v);
}

// A point's x, y and z under group codes code, code + 10 and code + 20.
Tags xyz(int code, Float3 p) {
    return {{code, n(p.x)}, {code + 10, n(p.y)}, {code + 20, n(p.z)}};
}

Tags arc(double start, std::optional<double> end, double radius = 1) {
    Tags t = Tags{{0, "ARC"}, {8, "0"}} + xyz(10, {}) + Tags{{40, n(radius)}, {50, n(start)}};
    if (end) t.push_back({51, n(*end)});
    return t;
}

Tags line(Float3 a, Float3 b, const std::string& layer = "0") {
    return Tags{{0, "LINE"}, {8, layer}} + xyz(10, a) + xyz(11, b);
}

Tags block(const std::string& name, Float3 base, const Tags& body) {
    return Tags{{0, "BLOCK"}, {8, "0"}, {2, name}, {70, "0"}} + xyz(10, base) + body +
           Tags{{0, "ENDBLK"}};
}

Tags insert(const std::string& name, Float3 at, Float3 scale = {1, 1, 1}, double rotation = 0) {
    return Tags{{0, "INSERT"}, {8, "0"}, {2, name}} + xyz(10, at) +
           Tags{{41, n(scale.x)}, {42, n(scale.y)}, {43, n(scale.z)}, {50, n(rotation)}};
}

std::string withBlocks(const Tags& blocks, const Tags& entities, const Tags& header = {}) {
    return entitiesText(
        entities, (header + Tags{{0, "SECTION"}, {2, "BLOCKS"}} + blocks + Tags{{0, "ENDSEC"}}));
}

// The same tags as binary DXF: two-byte group codes (R13 on) or one-byte ones (R12).
std::string binaryDXF(const Tags& tags, bool wideCodes, const std::string& tail) {
    std::string out = "AutoCAD Binary DXF" + tail + '\0';
    auto raw = [&](auto v) { out.append(reinterpret_cast<const char*>(&v), sizeof v); };
    for (const auto& [code, value] : tags) {
        wideCodes ? raw(int16_t(code)) : raw(uint8_t(code));
        if (code >= 10 && code <= 59)
            raw(std::stod(value));
        else if (code >= 60 && code <= 79)
            raw(int16_t(std::stoi(value)));
        else
            out += value + '\0';
    }
    return out;
}

}  // namespace

TEST(DXF_SUITE, entitiesDrawTheirSegmentsAndTriangles) {
    auto poly = [](std::vector<std::pair<double, double>> vs, int flags) {
        Tags t{{0, "LWPOLYLINE"}, {8, "0"}, {70, n(flags)}};
        for (auto [x, y] : vs) t = t + Tags{{10, n(x)}, {20, n(y)}};
        return t;
    };
    auto vertex = [](float x, float y, int flags, std::vector<int> idx = {}) {
        Tags t = Tags{{0, "VERTEX"}} + xyz(10, {x, y, 0}) + Tags{{70, n(flags)}};
        for (size_t i = 0; i < idx.size(); ++i) t.push_back({71 + int(i), n(idx[i])});
        return t;
    };
    // Polyface: four corners, then faces by corner number: a triangle, a quad (two triangles),
    // one with an invisible edge (still a corner) and one past the corners (dropped).
    Tags polyface{{0, "POLYLINE"}, {66, "1"}, {70, "64"}};
    for (Float3 p : {Float3{0, 0, 0}, {1, 0, 0}, {1, 1, 0}, {0, 1, 0}})
        polyface = polyface + vertex(p.x, p.y, 192);
    for (std::vector<int> face : {std::vector{1, 2, 3}, {1, 2, 3, 4}, {1, -2, 3}, {1, 2, 9}})
        polyface = polyface + vertex(0, 0, 128, face);
    polyface.push_back({0, "SEQEND"});
    const Tags solidTriangle = Tags{{0, "SOLID"}} + xyz(10, {}) + xyz(11, {1, 0, 0}) +
                               xyz(12, {0, 1, 0}) + xyz(13, {0, 1, 0});
    struct Case {
        const char* name;
        Tags tags;
        size_t segments, triangles = 0;
    };
    const Case cases[] = {
    // The importer tessellates by chord error instead (CADConverterTest).
#ifndef DXF_THROUGH_IMPORTER
        {"arc of 10 degrees: eight segments at least", arc(-5, 5), 8},
        {"arc backwards goes on round", arc(100, 0), 17},
        {"arc ending where it starts is a full turn", arc(10, 10), 24},
        {"arc without an end is a full turn", arc(0, std::nullopt), 24},
        {"arc of many turns is capped", arc(0, 1e12), 96},
#endif
        {"arc of no radius", arc(0, 90, 0), 0},
        {"arc of a tiny radius", arc(0, 90, 1e-7), 0},
        {"closed, two vertices: no closing segment", poly({{0, 0}, {1, 0}}, 1), 1},
        {"closed triangle", poly({{0, 0}, {1, 0}, {1, 1}}, 1), 3},
        {"repeated vertex draws nothing", poly({{0, 0}, {1, 0}, {1, 0}, {1, 1}}, 0), 2},
        {"one vertex", poly({{0, 0}}, 1), 0},
        {"closed POLYLINE",
         Tags{{0, "POLYLINE"}, {66, "1"}, {70, "1"}} + vertex(0, 0, 0) + vertex(1, 0, 0) +
             vertex(1, 1, 0) + Tags{{0, "SEQEND"}},
         3},
        // The polyline ends where the next entity starts, which is still read.
        {"POLYLINE without SEQEND",
         Tags{{0, "POLYLINE"}, {70, "0"}} + vertex(0, 0, 0) + vertex(2, 0, 0) +
             line({0, 5, 0}, {1, 5, 0}),
         2},
        {"polyface", polyface, 0, 4},
        {"SOLID with its last corners equal", solidTriangle, 3, 1},
        {"zero-length line", line({5, 5, 5}, {5, 5, 5}), 0}};
    for (const Case& c : cases) {
        SCOPED_TRACE(c.name);
        SKPModel m = parseDXF(entitiesText(c.tags));
        EXPECT_EQ(edgeCount(m.root), c.segments);
        EXPECT_EQ(triangleCount(m.root), c.triangles);
        EXPECT_EQ(m.boundsMax == Float3{}, c.segments + c.triangles == 0);
    }
    EXPECT_EQ(parseDXF("").layers, (std::vector<Layer>{{"0", true, std::nullopt}}));
    // Regression: adding turns one by one to reach a huge start angle never ended.
    size_t huge = edgeCount(parseDXF(entitiesText(arc(1e300, 0))).root);
    EXPECT_GE(huge, 8u);
#ifndef DXF_THROUGH_IMPORTER
    EXPECT_LE(huge, 24u);
#endif
}

TEST(DXF_SUITE, curvesAndOutlinesLieWhereTheFileSays) {
    SKPModel m = parseDXF(entitiesText(arc(350, 10)));
    const auto& p = m.root.edges.at(0).positions;
    for (Float3 q : p) EXPECT_GT(q.x, 0.98f);  // the short way, never the far side
    const float a = float(10 * M_PI / 180);
    expectNear(p.front(), {std::cos(a), -std::sin(a), 0});
    expectNear(p.back(), {std::cos(a), std::sin(a), 0});

    SKPModel circle =
        parseDXF(entitiesText({{0, "CIRCLE"}, {10, "5"}, {20, "-5"}, {30, "2"}, {40, "3"}}));
    for (Float3 q : circle.root.edges.at(0).positions) {
        EXPECT_NEAR(std::hypot(q.x - 5, q.y + 5), 3, 1e-4);
        EXPECT_EQ(q.z, 2);
    }
    // Elevation lifts the whole outline; a bulge leaves a straight chord (the importer's arcs:
    // CADConverterTest).
    Tags bulged{{0, "LWPOLYLINE"}, {38, "2.5"}, {10, "0"}, {20, "0"},
                {42, "1"},         {10, "10"},  {20, "0"}};
    const SKPModel bulgedModel = parseDXF(entitiesText(bulged));
    const auto& outline = bulgedModel.root.edges.at(0).positions;
    for (Float3 q : outline) EXPECT_EQ(q.z, 2.5f);
#ifndef DXF_THROUGH_IMPORTER
    EXPECT_EQ(outline, (std::vector<Float3>{{0, 0, 2.5f}, {10, 0, 2.5f}}));
#endif
}

TEST(DXF_SUITE, solidsAreStoredCrosswiseAnd3DFacesInFileOrder) {
    auto corners = [](const char* kind, std::vector<Float3> c) {
        Tags t{{0, kind}};
        for (size_t i = 0; i < c.size(); ++i) t = t + xyz(10 + int(i), c[i]);
        return t;
    };
    const std::vector<Float3> square{{0, 0, 0}, {1, 0, 0}, {0, 1, 0}, {1, 1, 0}};
    for (const char* kind : {"SOLID", "TRACE"}) {
        SKPModel m = parseDXF(entitiesText(corners(kind, square)));
        const Mesh& mesh = m.root.meshes.at(0);
        // The polygon runs 1, 2, 4, 3.
        EXPECT_EQ(mesh.positions,
                  (std::vector<Float3>{{0, 0, 0}, {1, 0, 0}, {1, 1, 0}, {0, 1, 0}}));
        EXPECT_EQ(mesh.indices, (std::vector<uint32_t>{0, 1, 2, 0, 2, 3}));
    }
    EXPECT_EQ(parseDXF(entitiesText(corners("3DFACE", square))).root.meshes.at(0).positions,
              square);
    SKPModel flat = parseDXF(entitiesText(corners("3DFACE", {{0, 0, 0}, {1, 0, 0}, {2, 0, 0}})));
    EXPECT_EQ(flat.root.meshes.at(0).normals[0], (Float3{0, 0, 1}));  // collinear: straight up
}

TEST(DXF_SUITE, frozenAndNegativeColourLayersAreHidden) {
    auto layer = [](const char* name, int color, int flags) {
        return Tags{{0, "LAYER"}, {2, name}, {62, n(color)}, {70, n(flags)}};
    };
    Tags tables{{0, "SECTION"}, {2, "TABLES"}, {0, "TABLE"}, {2, "LAYER"}};
    tables = tables + layer("Walls", 7, 0) + layer("Frozen", 7, 1) + layer("Off", -7, 0) +
             layer("Locked", 1, 4) + layer("", 7, 1) + layer("0", -1, 0) + Tags{{0, "ENDSEC"}};
    Tags lines;
    for (const char* name : {"Walls", "New", ""}) lines = lines + line({}, {1, 0, 0}, name);
    SKPModel m = parseDXF(entitiesText(lines, tables));
    std::string got;
    for (const Layer& l : m.layers) got += l.name + (l.isVisible ? "+ " : "- ");
    EXPECT_EQ(got, "0- Walls+ Frozen- Off- Locked+ New+ ");
    std::vector<int> edgeLayers;
    for (const EdgeSet& e : m.root.edges) edgeLayers.push_back(e.layer);
    EXPECT_EQ(edgeLayers, (std::vector<int>{0, 1, 5}));  // ascending layer order
}

// Everything is scaled to metres, but for the mark of a POINT, which stays 3 cm wide.
TEST(DXF_SUITE, insUnitsScaleEverythingToMetresButPointMarks) {
    const std::pair<int, float> cases[] = {{1, 0.0254f}, {4, 0.001f}, {7, 1000}, {99, 1}};
    for (auto [units, scale] : cases) {
        SCOPED_TRACE(units);
        Tags point{{0, "POINT"}, {8, "P"}, {10, "0.1"}, {20, "0"}, {30, "0"}};
        SKPModel m = parseDXF(entitiesText(line({}, {1000, 0, 0}) + point, headerUnits(units)));
        EXPECT_FLOAT_EQ(m.root.edges.at(0).positions[1].x, 1000 * scale);
        const auto& mark = m.root.edges.at(1).positions;
        EXPECT_NEAR(mark[1].x - mark[0].x, 0.03, 1e-4);
    }
}

TEST(DXF_SUITE, nestedBlocksAreSharedDefinitionsInCompletionOrder) {
    Tags blocks = block("DOOR", {10, 0, 0}, line({10, 0, 0}, {11, 0, 0})) +
                  block("ROOM", {}, line({}, {2, 0, 0}) + insert("DOOR", {5, 0, 0}));
    SKPModel m = parseDXF(withBlocks(
        blocks, insert("ROOM", {100, 0, 0}) + insert("ROOM", {200, 0, 0}) + insert("MISSING", {})));
    ASSERT_EQ(m.definitions.size(), 2u);
    EXPECT_EQ(m.definitions[0].name, "DOOR");
    // The base point is taken off the block's content.
    EXPECT_EQ(m.definitions[0].edges[0].positions, (std::vector<Float3>{{0, 0, 0}, {1, 0, 0}}));
    ASSERT_EQ(m.definitions[1].children.size(), 1u);
    EXPECT_EQ(m.definitions[1].children[0].definition, 0);
    ASSERT_EQ(m.root.children.size(), 2u);  // the unknown block is skipped
    EXPECT_EQ(m.root.children[1].definition, 1);
    EXPECT_EQ(m.stats.instances, 3);  // each block counted once, however often placed
    EXPECT_EQ(m.boundsMin.x, 100);
    EXPECT_EQ(m.boundsMax.x, 206);

    // Self-inserting blocks stop at depth sixteen.
    SKPModel self = parseDXF(withBlocks(
        block("LOOP", {}, line({}, {1, 0, 0}) + insert("LOOP", {1, 0, 0})), insert("LOOP", {})));
    EXPECT_EQ(self.definitions.size(), 16u);
    EXPECT_TRUE(self.definitions[0].children.empty());
    SKPModel pair = parseDXF(withBlocks(
        block("A", {}, insert("B", {})) + block("B", {}, insert("A", {})), insert("A", {})));
    EXPECT_EQ(pair.definitions.size(), 16u);
}

TEST(DXF_SUITE, mirroredAndRotatedInsertsKeepTheirMatrix) {
    Tags arrow = line({}, {1, 0, 0}) + line({}, {0, 2, 0});
    SKPModel m = parseDXF(
        withBlocks(block("ARROW", {}, arrow), insert("ARROW", {10, 0, 0}, {-1, 1, 1}, 90)));
    const Float4x4& t = m.root.children.at(0).transform;
    EXPECT_LT(t.determinant3(), 0);
    expectNear(t.transformPoint({1, 0, 0}), {10, -1, 0});
    expectNear(t.transformPoint({0, 2, 0}), {8, 0, 0});
    expectNear(m.boundsMin, {8, -1, 0});
    expectNear(m.boundsMax, {10, 0, 0});

    // Millimetres: the translation is in metres like the block's content.
    SKPModel mm = parseDXF(withBlocks(block("ARROW", {}, arrow),
                                      insert("ARROW", {1000, 0, 0}, {2, 2, 2}), headerUnits(4)));
    const Float4x4& s = mm.root.children.at(0).transform;
    EXPECT_FLOAT_EQ(s.m[12], 1);
    EXPECT_FLOAT_EQ(s.m[0], 2);  // scale stays a pure factor
}

TEST(DXF_SUITE, truncatedFileKeepsWhatWasRead) {
    std::string whole = entitiesText(line({}, {1, 0, 0}) + line({5, 0, 0}, {6, 0, 0}));
    // Cut inside the second LINE, just after its start x and the next code line.
    size_t cut = whole.find("5.000000");
    ASSERT_NE(cut, std::string::npos);
    SKPModel m = parseDXF(whole.substr(0, cut) + "5.000000\n20");  // odd line: ignored
    // The second LINE runs from (5, 0, 0) to the default end (0, 0, 0).
    EXPECT_EQ(edgeCount(m.root), 2u);
    EXPECT_EQ(m.boundsMax.x, 5);
    for (size_t n = 0; n < whole.size(); n += 7) EXPECT_NO_THROW(parseDXF(whole.substr(0, n)));
}

TEST(DXF_SUITE, textIsReadTolerantlyWhateverItsEncoding) {
    // Lower-case "section", a code line that is not a number (pair skipped), malformed numbers
    // taking their defaults.
    std::string text =
        "0\nsection\n2\nentities\nxx\nignored\n0\nLINE\n10\n1,5\n20\n2\n11\n+3\n21\n4\n"
        "0\nendsec\n";
    EXPECT_EQ(parseDXF(text).root.edges.at(0).positions,
              (std::vector<Float3>{{0, 2, 0}, {3, 4, 0}}));

    const std::string lf = entitiesText(line({}, {1, 0, 0}) + arc(0, 90));
    std::string crlf, cr;
    for (char c : lf) {
        crlf += c == '\n' ? std::string("\r\n") : std::string(1, c);
        cr += c == '\n' ? '\r' : c;
    }
    SKPModel a = parseDXF(lf);
#ifndef DXF_THROUGH_IMPORTER
    EXPECT_EQ(edgeCount(a.root), 9u);
#endif
    for (const std::string& variant : {crlf, cr, "\xEF\xBB\xBF" + lf})
        EXPECT_EQ(parseDXF(variant).root, a.root);

    // Names are UTF-8, or else Latin-1 for the whole file.
    auto named = [](const std::string& layer, const std::string& text) {
        return entitiesText(line({}, {1, 0, 0}, layer) + Tags{{0, "TEXT"}, {8, "0"}, {1, text}});
    };
    EXPECT_EQ(parseDXF(named("\xC9tage", "plain")).layers[1].name, "\u00C9tage");
    EXPECT_EQ(parseDXF(named("\u00C9tage", "plain")).layers[1].name, "\u00C9tage");
    // One stray Latin-1 byte anywhere makes the whole file Latin-1.
    EXPECT_EQ(parseDXF(named("\u00C9tage", "caf\xE9")).layers[1].name, "\u00C3\u0089tage");
}

TEST(DXF_SUITE, cancellationStopsTheRead) {
    std::string body;
    for (int i = 0; i < 12500; ++i) body += "0\nLINE\n11\n1\n21\n" + n(i) + "\n";
    const std::string text = "0\nSECTION\n2\nENTITIES\n" + body + "0\nENDSEC\n0\nEOF\n";
    int calls = 0;
    EXPECT_EQ(thrownError([&] { parseDXF(text, [&] { return ++calls == 3; }); }),
              SKPError::cancelled());
}

TEST(DXF_SUITE, binaryDXFReadsLikeItsASCIICopy) {
    const Tags hiddenLayer{{0, "SECTION"}, {2, "TABLES"}, {0, "LAYER"}, {2, "Off"}, {62, "-3"}};
    const Tags text{{0, "TEXT"}, {8, "Notes"}, {1, "skipped"}};
    const Tags tags = hiddenLayer + Tags{{0, "ENDSEC"}, {0, "SECTION"}, {2, "ENTITIES"}} +
                      line({}, {1, 2, 3}, "Off") + arc(0, 90, 2) + text +
                      Tags{{0, "ENDSEC"}, {0, "EOF"}};
    SKPModel ascii = parseDXF(dxfText(tags));
    // A sentinel whose tail lost its CR still makes identification say binary, so the reader
    // must read binary too (it once read such files as text and gave an empty model).
    for (auto [wide, tail] : {std::pair{true, "\r\n\x1a"}, {false, "\r\n\x1a"}, {true, "\n\x1a"}}) {
        std::string bin = binaryDXF(tags, wide, tail);
        std::span<const uint8_t> head(reinterpret_cast<const uint8_t*>(bin.data()), bin.size());
        EXPECT_EQ(SKPFileInfo::parse(head, "a.dxf", 0).versionLabel, "AutoCAD Binary DXF");
        SKPModel m = parseDXF(bin);
        EXPECT_EQ(m.root, ascii.root);
        EXPECT_EQ(m.layers, ascii.layers);
        EXPECT_FALSE(m.layers[1].isVisible);
        // Cut inside the arc's radius: the LINE before it stays.
        size_t cut = bin.find("ARC") + 20;
        SKPModel truncated = parseDXF(bin.substr(0, cut));
        EXPECT_EQ(edgeCount(truncated.root), 1u);
    }
}

TEST(DXF_SUITE, fileTruncatedWhileReadEndsUnreadableInsteadOfCrashing) {
    test::TempDir dir;
    auto path = dir / "shrinking.dxf";
    {
        Tags body;
        for (int i = 0; i < 60'000; ++i) body.push_back({0, "POINT"});
        std::ofstream(path, std::ios::binary) << entitiesText(body);
    }
    SKPFileInfo info = SKPFileInfo::read(path);
    // Run in a child: before the reader survived this, SIGBUS ended the process.
    EXPECT_EXIT(
        {
            try {
                Reader::parse(path, info,
                              [&](const auto&) { std::filesystem::resize_file(path, 100); }, {});
            } catch (const SKPError& e) {
                std::exit(e.kind() == SKPError::Kind::unreadable ? 0 : 2);
            }
            std::exit(3);
        },
        ::testing::ExitedWithCode(0), "");
}

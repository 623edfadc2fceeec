#include "dxf/DXFNativeParser.h"

#include <gtest/gtest.h>

#include <clocale>
#include <cmath>
#include <cstring>
#include <fstream>

#include "DXFTestText.h"
#include "TestEnv.h"
#include "model/SKPError.h"

using namespace vistrel;
using namespace vistrel::test;

namespace {

Tags concat(std::initializer_list<Tags> parts) {
    Tags all;
    for (const Tags& p : parts) all.insert(all.end(), p.begin(), p.end());
    return all;
}

// A point's x, y and z under group codes code, code + 10 and code + 20.
Tags xyz(int code, Float3 p) {
    return {{code, std::to_string(p.x)},
            {code + 10, std::to_string(p.y)},
            {code + 20, std::to_string(p.z)}};
}

Tags arc(double start, std::optional<double> end, double radius = 1) {
    Tags t = concat({{{0, "ARC"}, {8, "0"}},
                     xyz(10, {}),
                     {{40, std::to_string(radius)}, {50, std::to_string(start)}}});
    if (end) t.push_back({51, std::to_string(*end)});
    return t;
}

Tags line(Float3 a, Float3 b, const std::string& layer = "0") {
    return concat({{{0, "LINE"}, {8, layer}}, xyz(10, a), xyz(11, b)});
}

void expectNear(Float3 a, Float3 b, float tolerance = 1e-4f) {
    EXPECT_NEAR(a.x, b.x, tolerance);
    EXPECT_NEAR(a.y, b.y, tolerance);
    EXPECT_NEAR(a.z, b.z, tolerance);
}

const std::vector<Float3>& onlyEdges(const SKPModel& m) {
    EXPECT_EQ(m.root.edges.size(), 1u);
    static const std::vector<Float3> none;
    return m.root.edges.empty() ? none : m.root.edges[0].positions;
}

}  // namespace

TEST(DXFNativeParser, emptyFileGivesEmptyModelWithLayerZero) {
    SKPModel m = parseDXF("");
    EXPECT_EQ(m.layers, (std::vector<Layer>{{"0", true, std::nullopt}}));
    EXPECT_EQ(m.root, Definition{});
    EXPECT_TRUE(m.definitions.empty());
    EXPECT_EQ(m.boundsMin, Float3{});
    EXPECT_EQ(m.boundsMax, Float3{});
}

TEST(DXFNativeParser, dxfArcCrossingZeroSweepsShortWay) {
    SKPModel m = parseDXF(entitiesText(arc(350, 10)));
    const auto& p = onlyEdges(m);
    ASSERT_EQ(p.size(), 16u);                  // 8 segments, the minimum
    for (Float3 q : p) EXPECT_GT(q.x, 0.98f);  // never strays to the far side of the circle
    expectNear(p.front(),
               {float(std::cos(-10 * M_PI / 180)), float(std::sin(-10 * M_PI / 180)), 0});
    expectNear(p.back(), {float(std::cos(10 * M_PI / 180)), float(std::sin(10 * M_PI / 180)), 0});
}

TEST(DXFNativeParser, arcSegmentsFollowTheSweepWithAMinimumOfEight) {
    struct Case {
        double start;
        std::optional<double> end;
        double radius;
        size_t segments;
    };
    const Case cases[] = {
        {0, 100, 1, 8},  {0, 200, 2, 13},          {100, 0, 1, 17},  {-30, 30, 1, 8},
        {10, 10, 1, 24}, {0, std::nullopt, 1, 24}, {0, 1000, 1, 66}, {0, 1e12, 1, 96},
        {0, 90, 0, 0},   {0, 90, 1e-7, 0},
    };
    for (const Case& c : cases) {
        SKPModel m = parseDXF(entitiesText(arc(c.start, c.end, c.radius)));
        EXPECT_EQ(edgeCount(m.root), c.segments) << c.start << " " << c.end.value_or(-1);
    }
    // Regression: adding turns one by one to reach a huge start angle never ended.
    size_t huge = edgeCount(parseDXF(entitiesText(arc(1e300, 0))).root);
    EXPECT_GE(huge, 8u);
    EXPECT_LE(huge, 24u);
}

TEST(DXFNativeParser, fullCircleHasTwentyFourSegmentsAtItsElevation) {
    Tags circle{{0, "CIRCLE"}, {10, "5"}, {20, "-5"}, {30, "2"}, {40, "3"}};
    SKPModel m = parseDXF(entitiesText(circle));
    const auto& p = onlyEdges(m);
    ASSERT_EQ(p.size(), 48u);
    for (Float3 q : p) {
        EXPECT_NEAR(std::hypot(q.x - 5, q.y + 5), 3, 1e-4);
        EXPECT_EQ(q.z, 2);
    }
}

TEST(DXFNativeParser, lwPolylineSegmentsAndClosing) {
    auto poly = [](std::vector<std::pair<double, double>> vs, int flags, Tags extra = {}) {
        Tags t{{0, "LWPOLYLINE"}, {8, "0"}, {70, std::to_string(flags)}};
        t.insert(t.end(), extra.begin(), extra.end());
        for (auto [x, y] : vs) {
            t.push_back({10, std::to_string(x)});
            t.push_back({20, std::to_string(y)});
        }
        return t;
    };
    struct Case {
        Tags tags;
        size_t segments;
    };
    const Case cases[] = {
        {poly({{0, 0}, {1, 0}}, 1), 1},  // two vertices: no closing segment
        {poly({{0, 0}, {1, 0}, {1, 1}}, 1), 3},
        {poly({{0, 0}, {1, 0}, {1, 1}}, 0), 2},
        {poly({{0, 0}, {1, 0}, {1, 0}, {1, 1}}, 0), 2},  // a repeated vertex draws nothing
        {poly({{0, 0}}, 1), 0},
    };
    for (const Case& c : cases)
        EXPECT_EQ(edgeCount(parseDXF(entitiesText(c.tags)).root), c.segments);

    // Elevation lifts the whole outline; a bulge leaves a straight chord.
    Tags bulged{{0, "LWPOLYLINE"}, {38, "2.5"}, {10, "0"}, {20, "0"},
                {42, "1"},         {10, "10"},  {20, "0"}};
    SKPModel m = parseDXF(entitiesText(bulged));
    const auto& p = onlyEdges(m);
    ASSERT_EQ(p.size(), 2u);
    EXPECT_EQ(p[0], (Float3{0, 0, 2.5f}));
    EXPECT_EQ(p[1], (Float3{10, 0, 2.5f}));
}

TEST(DXFNativeParser, polylineVerticesAndPolyfaceRecords) {
    auto vertex = [](float x, float y, int flags, std::vector<int> idx = {}) {
        Tags t = concat({{{0, "VERTEX"}}, xyz(10, {x, y, 0}), {{70, std::to_string(flags)}}});
        for (size_t i = 0; i < idx.size(); ++i) t.push_back({71 + int(i), std::to_string(idx[i])});
        return t;
    };
    Tags closed = concat({{{0, "POLYLINE"}, {8, "P"}, {66, "1"}, {70, "1"}},
                          vertex(0, 0, 0),
                          vertex(1, 0, 0),
                          vertex(1, 1, 0),
                          {{0, "SEQEND"}}});
    SKPModel m = parseDXF(entitiesText(closed));
    EXPECT_EQ(edgeCount(m.root), 3u);
    EXPECT_EQ(m.layers.back().name, "P");

    Tags mesh = concat({{{0, "POLYLINE"}, {66, "1"}, {70, "64"}},
                        vertex(0, 0, 192),
                        vertex(1, 0, 192),
                        vertex(1, 1, 192),
                        vertex(0, 1, 192),
                        vertex(0, 0, 128, {1, 2, 3}),     // triangle
                        vertex(0, 0, 128, {1, 2, 3, 4}),  // quad: two triangles
                        vertex(0, 0, 128, {1, -2, 3}),    // an invisible edge is still a corner
                        vertex(0, 0, 128, {1, 2, 9}),     // refers past the vertices: dropped
                        {{0, "SEQEND"}}});
    m = parseDXF(entitiesText(mesh));
    EXPECT_EQ(triangleCount(m.root), 4u);
    EXPECT_EQ(edgeCount(m.root), 0u);
    EXPECT_EQ(m.stats.faces, 4);

    // No SEQEND: the polyline ends where the next entity starts, which is still read.
    Tags open = concat({{{0, "POLYLINE"}, {70, "0"}},
                        vertex(0, 0, 0),
                        vertex(2, 0, 0),
                        line({0, 5, 0}, {1, 5, 0})});
    EXPECT_EQ(edgeCount(parseDXF(entitiesText(open)).root), 2u);
}

TEST(DXFNativeParser, solidTraceAnd3DFaceCornerOrder) {
    auto corners = [](const char* kind, std::vector<Float3> c) {
        Tags t{{0, kind}};
        for (size_t i = 0; i < c.size(); ++i) t = concat({t, xyz(10 + int(i), c[i])});
        return t;
    };
    const std::vector<Float3> square{{0, 0, 0}, {1, 0, 0}, {0, 1, 0}, {1, 1, 0}};
    for (const char* kind : {"SOLID", "TRACE"}) {
        SKPModel m = parseDXF(entitiesText(corners(kind, square)));
        ASSERT_EQ(m.root.meshes.size(), 1u);
        const Mesh& mesh = m.root.meshes[0];
        // Stored crosswise: the polygon runs 1, 2, 4, 3.
        EXPECT_EQ(mesh.positions,
                  (std::vector<Float3>{{0, 0, 0}, {1, 0, 0}, {1, 1, 0}, {0, 1, 0}}));
        EXPECT_EQ(mesh.indices, (std::vector<uint32_t>{0, 1, 2, 0, 2, 3}));
        EXPECT_EQ(mesh.normals[0], (Float3{0, 0, 1}));
        EXPECT_EQ(edgeCount(m.root), 4u);
    }
    SKPModel tri =
        parseDXF(entitiesText(corners("SOLID", {{0, 0, 0}, {1, 0, 0}, {0, 1, 0}, {0, 1, 0}})));
    EXPECT_EQ(triangleCount(tri.root), 1u);
    EXPECT_EQ(edgeCount(tri.root), 3u);

    SKPModel face = parseDXF(entitiesText(corners("3DFACE", square)));
    EXPECT_EQ(face.root.meshes[0].positions, square);  // file order
    SKPModel three = parseDXF(entitiesText(corners("3DFACE", {{0, 0, 0}, {1, 0, 0}, {1, 0, 1}})));
    EXPECT_EQ(triangleCount(three.root), 1u);
    expectNear(three.root.meshes[0].normals[0], {0, -1, 0});
    SKPModel flat = parseDXF(entitiesText(corners("3DFACE", {{0, 0, 0}, {1, 0, 0}, {2, 0, 0}})));
    EXPECT_EQ(flat.root.meshes[0].normals[0], (Float3{0, 0, 1}));  // collinear: straight up
}

TEST(DXFNativeParser, zeroLengthLineLeavesNoTrace) {
    SKPModel m =
        parseDXF(entitiesText(concat({line({5, 5, 5}, {5, 5, 5}), line({0, 0, 0}, {1, 0, 0})})));
    EXPECT_EQ(edgeCount(m.root), 1u);
    EXPECT_EQ(m.boundsMax, (Float3{1, 0, 0}));
    EXPECT_EQ(parseDXF(entitiesText(line({5, 5, 5}, {5, 5, 5}))).boundsMax, Float3{});
}

TEST(DXFNativeParser, frozenAndNegativeColourLayersAreHidden) {
    auto layer = [](const char* name, int color, int flags) {
        return Tags{
            {0, "LAYER"}, {2, name}, {62, std::to_string(color)}, {70, std::to_string(flags)}};
    };
    Tags tables = concat({{{0, "SECTION"}, {2, "TABLES"}, {0, "TABLE"}, {2, "LAYER"}, {70, "5"}},
                          layer("Walls", 7, 0),
                          layer("Frozen", 7, 1),
                          layer("Off", -7, 0),
                          layer("Locked", 1, 4),
                          layer("", 7, 1),
                          layer("0", -1, 0),
                          {{0, "ENDTAB"},
                           {0, "TABLE"},
                           {2, "LTYPE"},
                           {0, "LTYPE"},
                           {2, "DASHED"},
                           {0, "ENDTAB"},
                           {0, "ENDSEC"}}});
    SKPModel m = parseDXF(
        entitiesText(concat({line({0, 0, 0}, {1, 0, 0}, "Walls"), line({0, 0, 0}, {1, 0, 0}, "New"),
                             line({0, 0, 0}, {1, 0, 0}, "")}),
                     tables));
    std::vector<std::pair<std::string, bool>> got;
    for (const Layer& l : m.layers) got.emplace_back(l.name, l.isVisible);
    EXPECT_EQ(got, (std::vector<std::pair<std::string, bool>>{{"0", false},
                                                              {"Walls", true},
                                                              {"Frozen", false},
                                                              {"Off", false},
                                                              {"Locked", true},
                                                              {"New", true}}));
    std::vector<int> edgeLayers;
    for (const EdgeSet& e : m.root.edges) edgeLayers.push_back(e.layer);
    EXPECT_EQ(edgeLayers, (std::vector<int>{0, 1, 5}));  // ascending layer order
}

// Everything is scaled to metres, but for the mark of a POINT, which stays 3 cm wide.
TEST(DXFNativeParser, insUnitsScaleEverythingToMetresButPointMarks) {
    const std::pair<int, float> cases[] = {{1, 0.0254f}, {2, 0.3048f}, {3, 1},
                                           {4, 0.001f},  {5, 0.01f},   {6, 1},
                                           {7, 1000},    {0, 1},       {99, 1}};
    for (auto [units, scale] : cases) {
        Tags point{{0, "POINT"}, {8, "P"}, {10, "0.1"}, {20, "0"}, {30, "0"}};
        SKPModel m = parseDXF(
            entitiesText(concat({line({0, 0, 0}, {1000, 0, 0}), point}), headerUnits(units)));
        EXPECT_FLOAT_EQ(m.root.edges.at(0).positions[1].x, 1000 * scale) << "units " << units;
        const auto& mark = m.root.edges.at(1).positions;
        EXPECT_NEAR(mark[1].x - mark[0].x, 0.03, 1e-4) << "units " << units;
        EXPECT_EQ(mark[0].y, mark[1].y);
    }
}

TEST(DXFNativeParser, pointCloudsAreThinnedToAboutSixtyThousand) {
    std::string body;
    auto addPoints = [&](const char* layer, int n) {
        for (int i = 0; i < n; ++i)
            body +=
                std::string("0\nPOINT\n8\n") + layer + "\n10\n" + std::to_string(i) + "\n20\n0\n";
    };
    addPoints("A", 70000);
    addPoints("B", 60001);
    SKPModel m = parseDXF("0\nSECTION\n2\nENTITIES\n" + body + "0\nENDSEC\n0\nEOF\n");
    // 130,001 points: every second one in each layer, from the first on.
    EXPECT_EQ(m.stats.edges, 35000 + 30001);
    EXPECT_EQ(m.root.edges.size(), 2u);
}

namespace {

Tags block(const std::string& name, Float3 base, const Tags& body) {
    return concat({{{0, "BLOCK"}, {8, "0"}, {2, name}, {70, "0"}},
                   xyz(10, base),
                   {{3, name}},
                   body,
                   {{0, "ENDBLK"}, {8, "0"}}});
}

Tags insert(const std::string& name, Float3 at, Float3 scale = {1, 1, 1}, double rotation = 0) {
    return concat({{{0, "INSERT"}, {8, "0"}, {2, name}},
                   xyz(10, at),
                   {{41, std::to_string(scale.x)},
                    {42, std::to_string(scale.y)},
                    {43, std::to_string(scale.z)},
                    {50, std::to_string(rotation)}}});
}

std::string withBlocks(const Tags& blocks, const Tags& entities, const Tags& header = {}) {
    Tags all = header;
    all.insert(all.end(), {{0, "SECTION"}, {2, "BLOCKS"}});
    all.insert(all.end(), blocks.begin(), blocks.end());
    all.insert(all.end(), {{0, "ENDSEC"}, {0, "SECTION"}, {2, "ENTITIES"}});
    all.insert(all.end(), entities.begin(), entities.end());
    all.insert(all.end(), {{0, "ENDSEC"}, {0, "EOF"}});
    return dxfText(all);
}

}  // namespace

TEST(DXFNativeParser, nestedBlocksAreSharedDefinitionsInCompletionOrder) {
    Tags blocks = concat({block("DOOR", {10, 0, 0}, line({10, 0, 0}, {11, 0, 0})),
                          block("ROOM", {0, 0, 0},
                                concat({line({0, 0, 0}, {2, 0, 0}), insert("DOOR", {5, 0, 0})}))});
    SKPModel m = parseDXF(
        withBlocks(blocks, concat({insert("ROOM", {100, 0, 0}), insert("ROOM", {200, 0, 0}),
                                   insert("MISSING", {0, 0, 0})})));
    ASSERT_EQ(m.definitions.size(), 2u);
    EXPECT_EQ(m.definitions[0].name, "DOOR");
    EXPECT_EQ(m.definitions[1].name, "ROOM");
    // The base point is taken off the block's content.
    EXPECT_EQ(m.definitions[0].edges[0].positions, (std::vector<Float3>{{0, 0, 0}, {1, 0, 0}}));
    ASSERT_EQ(m.definitions[1].children.size(), 1u);
    EXPECT_EQ(m.definitions[1].children[0].definition, 0);
    ASSERT_EQ(m.root.children.size(), 2u);  // the unknown block is skipped
    EXPECT_EQ(m.root.children[1].definition, 1);
    EXPECT_EQ(m.root.children[1].transform.m[12], 200);
    EXPECT_EQ(m.stats.instances, 3);  // each block counted once, however often placed
    EXPECT_EQ(m.stats.edges, 2);
    EXPECT_EQ(m.stats.definitions, 2);
    EXPECT_EQ(m.boundsMin.x, 100);
    EXPECT_EQ(m.boundsMax.x, 206);
}

TEST(DXFNativeParser, selfInsertingBlocksStopAtDepthSixteen) {
    SKPModel self = parseDXF(withBlocks(
        block("LOOP", {}, concat({line({0, 0, 0}, {1, 0, 0}), insert("LOOP", {1, 0, 0})})),
        insert("LOOP", {})));
    EXPECT_EQ(self.definitions.size(), 16u);
    EXPECT_EQ(self.stats.instances, 16);
    EXPECT_EQ(self.stats.edges, 16);
    EXPECT_TRUE(self.definitions[0].children.empty());

    SKPModel pair = parseDXF(
        withBlocks(concat({block("A", {}, insert("B", {})), block("B", {}, insert("A", {}))}),
                   insert("A", {})));
    EXPECT_EQ(pair.definitions.size(), 16u);
}

TEST(DXFNativeParser, mirroredAndRotatedInsertsKeepTheirMatrix) {
    Tags arrow = concat({line({0, 0, 0}, {1, 0, 0}), line({0, 0, 0}, {0, 2, 0})});
    SKPModel m = parseDXF(
        withBlocks(block("ARROW", {}, arrow), insert("ARROW", {10, 0, 0}, {-1, 1, 1}, 90)));
    ASSERT_EQ(m.root.children.size(), 1u);
    const Float4x4& t = m.root.children[0].transform;
    EXPECT_LT(t.determinant3(), 0);
    expectNear(t.transformPoint({1, 0, 0}), {10, -1, 0});
    expectNear(t.transformPoint({0, 2, 0}), {8, 0, 0});
    expectNear(m.boundsMin, {8, -1, 0});
    expectNear(m.boundsMax, {10, 0, 0});

    // Millimetres: the translation is in metres like the block's content.
    SKPModel mm = parseDXF(withBlocks(block("ARROW", {}, arrow),
                                      insert("ARROW", {1000, 0, 0}, {2, 2, 2}), headerUnits(4)));
    const Float4x4& s = mm.root.children[0].transform;
    EXPECT_FLOAT_EQ(s.m[12], 1);
    EXPECT_FLOAT_EQ(s.m[0], 2);  // scale stays a pure factor
    expectNear(mm.boundsMax, {1.002f, 0.004f, 0});
}

TEST(DXFNativeParser, truncatedFileKeepsWhatWasRead) {
    std::string whole =
        entitiesText(concat({line({0, 0, 0}, {1, 0, 0}), line({5, 0, 0}, {6, 0, 0})}));
    // Cut inside the second LINE, just after its start x ("5.000000") and the next code line.
    size_t cut = whole.find("5.000000");
    ASSERT_NE(cut, std::string::npos);
    std::string truncated = whole.substr(0, cut) + "5.000000\n20";  // odd line: ignored
    SKPModel m = parseDXF(truncated);
    // The second LINE runs from (5, 0, 0) to the default end (0, 0, 0).
    EXPECT_EQ(edgeCount(m.root), 2u);
    EXPECT_EQ(m.boundsMax.x, 5);
    for (size_t n = 0; n < whole.size(); n += 7) EXPECT_NO_THROW(parseDXF(whole.substr(0, n)));
}

TEST(DXFNativeParser, tolerantTextRules) {
    // Lower-case "section", a code line that is not a number (pair skipped), malformed numbers
    // taking their defaults.
    std::string text =
        "0\nsection\n2\nentities\nxx\nignored\n0\nLINE\n10\n1,5\n20\n2\n11\n+3\n21\n4\n"
        "0\nendsec\n";
    SKPModel m = parseDXF(text);
    const auto& p = onlyEdges(m);
    ASSERT_EQ(p.size(), 2u);
    EXPECT_EQ(p[0], (Float3{0, 2, 0}));
    EXPECT_EQ(p[1], (Float3{3, 4, 0}));
    Tags badScale = insert("B", {});
    badScale[6].second = "abc";  // 41
    SKPModel scaled = parseDXF(withBlocks(block("B", {}, line({0, 0, 0}, {1, 0, 0})), badScale));
    EXPECT_EQ(scaled.root.children.at(0).transform.m[0], 1);

    const std::string lf = entitiesText(concat({line({0, 0, 0}, {1, 0, 0}), arc(0, 90)}));
    std::string crlf, cr;
    for (char c : lf) {
        crlf += c == '\n' ? std::string("\r\n") : std::string(1, c);
        cr += c == '\n' ? '\r' : c;
    }
    SKPModel a = parseDXF(lf), b = parseDXF(crlf), c = parseDXF(cr),
             bom = parseDXF("\xEF\xBB\xBF" + lf);
    EXPECT_EQ(a.root, b.root);
    EXPECT_EQ(a.root, c.root);
    EXPECT_EQ(a.root, bom.root);
    EXPECT_EQ(edgeCount(a.root), 9u);
}

TEST(DXFNativeParser, numbersIgnoreTheLocale) {
    const std::string text = entitiesText(line({0, 0, 0}, {1.5f, 0, 0}));
    const char* previous = std::setlocale(LC_ALL, nullptr);
    std::string saved = previous ? previous : "C";
    if (!std::setlocale(LC_ALL, "fr_FR.UTF-8")) GTEST_SKIP() << "no French locale here";
    SKPModel m = parseDXF(text);
    std::setlocale(LC_ALL, saved.c_str());
    EXPECT_EQ(m.boundsMax.x, 1.5f);
}

TEST(DXFNativeParser, namesAreUTF8OrElseLatin1ForTheWholeFile) {
    auto named = [](const std::string& layer, const std::string& text) {
        return entitiesText(
            concat({line({0, 0, 0}, {1, 0, 0}, layer), {{0, "TEXT"}, {8, "0"}, {1, text}}}));
    };
    EXPECT_EQ(parseDXF(named("\xC9tage", "plain")).layers[1].name, "\u00C9tage");
    EXPECT_EQ(parseDXF(named("\u00C9tage", "plain")).layers[1].name, "\u00C9tage");
    // One stray Latin-1 byte anywhere makes the whole file Latin-1.
    EXPECT_EQ(parseDXF(named("\u00C9tage", "caf\xE9")).layers[1].name, "\u00C3\u0089tage");
}

TEST(DXFNativeParser, cancellationAndProgressFollowTheRhythm) {
    std::string body;
    for (int i = 0; i < 12500; ++i)
        body += "0\nLINE\n10\n0\n20\n0\n11\n1\n21\n" + std::to_string(i) + "\n";
    const std::string text =
        "0\nSECTION\n2\nENTITIES\n" + body + "0\nENDSEC\n0\nEOF\n";  // 62,503 pairs

    int polls = 0;
    std::vector<SKPReader::Progress> reports;
    parseDXF(
        text, [&](const SKPReader::Progress& p) { reports.push_back(p); },
        [&] { return ++polls < 0; });
    // At the first entity tag, at pairs 25,000 and 50,000, and at each turn of the section walk
    // (SECTION, EOF).
    EXPECT_EQ(polls, 5);
    ASSERT_EQ(reports.size(), 4u);
    EXPECT_FALSE(reports[0].fraction.has_value());
    double last = 0;
    for (size_t i = 1; i < reports.size(); ++i) {
        ASSERT_TRUE(reports[i].fraction.has_value());
        EXPECT_GE(*reports[i].fraction, std::max(last, 0.15));
        EXPECT_LE(*reports[i].fraction, 0.86);
        last = *reports[i].fraction;
    }

    int calls = 0;
    try {
        parseDXF(text, {}, [&] { return ++calls == 3; });
        ADD_FAILURE() << "not cancelled";
    } catch (const SKPError& e) {
        EXPECT_EQ(e.kind(), SKPError::Kind::cancelled);
    }
}

namespace {

// The same tags as binary DXF: two-byte group codes (R13 on) or one-byte ones (R12).
std::string binaryDXF(const Tags& tags, bool wideCodes, const std::string& tail = "\r\n\x1a") {
    std::string out = "AutoCAD Binary DXF" + tail;
    out += '\0';
    for (const auto& [code, value] : tags) {
        if (wideCodes) {
            out += char(code & 0xFF);
            out += char(code >> 8);
        } else {
            out += char(code);
        }
        if (code >= 10 && code <= 59) {
            double d = std::stod(value);
            out.append(reinterpret_cast<const char*>(&d), 8);
        } else if (code >= 60 && code <= 79) {
            auto v = int16_t(std::stoi(value));
            out.append(reinterpret_cast<const char*>(&v), 2);
        } else {
            out += value;
            out += '\0';
        }
    }
    return out;
}

}  // namespace

TEST(DXFNativeParser, binaryDXFReadsLikeItsASCIICopy) {
    Tags tags = concat({{{0, "SECTION"},
                         {2, "TABLES"},
                         {0, "LAYER"},
                         {2, "Off"},
                         {62, "-3"},
                         {0, "ENDSEC"},
                         {0, "SECTION"},
                         {2, "ENTITIES"}},
                        line({0, 0, 0}, {1, 2, 3}, "Off"),
                        arc(0, 90, 2),
                        {{0, "TEXT"}, {8, "Notes"}, {1, "skipped"}, {0, "ENDSEC"}, {0, "EOF"}}});
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

TEST(DXFNativeParser, fileTruncatedWhileReadEndsUnreadableInsteadOfCrashing) {
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
                DXFNativeParser::parse(
                    path, info, [&](const auto&) { std::filesystem::resize_file(path, 100); }, {});
            } catch (const SKPError& e) {
                std::exit(e.kind() == SKPError::Kind::unreadable ? 0 : 2);
            }
            std::exit(3);
        },
        ::testing::ExitedWithCode(0), "");
}

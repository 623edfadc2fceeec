#include <gtest/gtest.h>

#include <cmath>
#include <numbers>
#include <string>

#include "cad/CADConverter.h"
#include "cad/CADImporter.h"

using namespace vistrel;

namespace {

CADHatchLoop square(double lo, double hi) {
    CADHatchLoop l;
    for (CADPoint p : {CADPoint{lo, lo}, {hi, lo}, {hi, hi}, {lo, hi}}) l.polyline.push_back({p});
    return l;
}

CADHatchEdge arc(CADPoint centre, double r, double from, double to, bool ccw) {
    CADHatchEdge e;
    e.kind = CADHatchEdge::Kind::arc;
    e.a = centre;
    e.radius = r;
    e.startDeg = from;
    e.endDeg = to;
    e.counterClockwise = ccw;
    return e;
}

SKPModel convert(CADHatch h) {
    CADDrawing d;
    CADEntity& e = d.entities.emplace_back();
    e.kind = CADEntity::Kind::hatch;
    d.hatches.push_back(std::move(h));
    return CADConverter::convert(std::move(d), SKPFileInfo{});
}

double area(const SKPModel& m) {
    double a = 0;
    for (const Mesh& mesh : m.root.meshes)
        for (size_t i = 0; i + 2 < mesh.indices.size(); i += 3) {
            Float3 p = mesh.positions[mesh.indices[i]], q = mesh.positions[mesh.indices[i + 1]],
                   r = mesh.positions[mesh.indices[i + 2]];
            a += length(cross(q - p, r - p)) / 2;
        }
    return a;
}

double totalLength(const SKPModel& m) {
    double l = 0;
    for (const EdgeSet& e : m.root.edges)
        for (size_t i = 0; i + 1 < e.positions.size(); i += 2)
            l += length(e.positions[i + 1] - e.positions[i]);
    return l;
}

}  // namespace

TEST(CADHatch, solidFillsKeepIslandsOpenAndFollowCurvedEdges) {
    CADHatch framed;
    framed.solid = true;
    framed.loops = {square(0, 10), square(4, 6)};
    EXPECT_NEAR(area(convert(framed)), 96, 1e-3);

    // A disc of one arc edge, and the lower half of it by a line and a clockwise arc.
    CADHatch disc;
    disc.solid = true;
    disc.loops.emplace_back().edges = {arc({0, 0}, 2, 0, 360, true)};
    EXPECT_NEAR(area(convert(disc)), 4 * std::numbers::pi, 1e-2);
    CADHatch half;
    half.solid = true;
    CADHatchEdge chord;
    chord.a = {-2, 0};
    chord.b = {2, 0};
    half.loops.emplace_back().edges = {chord, arc({0, 0}, 2, 0, 180, false)};
    SKPModel h = convert(half);
    EXPECT_NEAR(area(h), 2 * std::numbers::pi, 1e-2);
    EXPECT_NEAR(h.boundsMin.y, -2, 1e-3);
    EXPECT_NEAR(h.boundsMax.y, 0, 1e-6);
}

TEST(CADHatch, patternLinesAreClippedDashedAndCapped) {
    struct Case {
        const char* name;
        std::vector<double> dashes;
        double spacing, length;
    };
    for (const Case& c :
         {Case{"continuous, 45 degrees", {}, 1, 100}, {"dashed half", {0.5, -0.5}, 1, 50}}) {
        SCOPED_TRACE(c.name);
        CADHatch h;
        h.loops = {square(0, 10)};
        CADHatchPatternLine line;
        line.angleDeg = 45;
        line.offset = {-c.spacing * std::sqrt(0.5), c.spacing * std::sqrt(0.5)};
        line.dashes = c.dashes;
        h.pattern = {line};
        SKPModel m = convert(h);
        EXPECT_NEAR(totalLength(m), c.length, c.length * 0.03);
        EXPECT_GE(m.boundsMin.x, -1e-5);
        EXPECT_LE(m.boundsMax.y, 10 + 1e-5);
    }
    // A pattern a millionth apart stops at the cap.
    CADHatch dense;
    dense.loops = {square(0, 10)};
    CADHatchPatternLine fine;
    fine.offset = {0, 1e-6};
    dense.pattern = {fine};
    SKPModel m = convert(dense);
    EXPECT_GT(m.stats.edges, 1000);
    EXPECT_LE(m.stats.edges, 200'000);
}

TEST(CADHatch, theDXFFrontEndReadsPathsAndPatterns) {
    // A solid polyline path with a bulge (a half disc over a 4 x 2 box) and a pattern hatch of
    // horizontal lines 1 apart over an edge path.
    const std::string text =
        "0\nSECTION\n2\nENTITIES\n"
        "0\nHATCH\n10\n0\n20\n0\n30\n0\n2\nSOLID\n70\n1\n71\n0\n91\n1\n92\n3\n72\n1\n73\n1\n93\n"
        "4\n10\n0\n20\n0\n10\n4\n20\n0\n10\n4\n20\n2\n42\n1\n10\n0\n20\n2\n97\n0\n75\n0\n76\n1\n"
        "98\n0\n"
        "0\nHATCH\n10\n0\n20\n0\n30\n0\n2\nLINES\n70\n0\n71\n0\n91\n1\n92\n1\n93\n4\n"
        "72\n1\n10\n10\n20\n0\n11\n20\n21\n0\n72\n1\n10\n20\n20\n0\n11\n20\n21\n10\n"
        "72\n1\n10\n20\n20\n10\n11\n10\n21\n10\n72\n1\n10\n10\n20\n10\n11\n10\n21\n0\n97\n0\n"
        "75\n0\n76\n1\n52\n0\n41\n1\n77\n0\n78\n1\n53\n0\n43\n0\n44\n0.5\n45\n0\n46\n1\n79\n0\n"
        "98\n0\n0\nENDSEC\n0\nEOF\n";
    std::span<const uint8_t> bytes(reinterpret_cast<const uint8_t*>(text.data()), text.size());
    SKPModel m = CADImporter::parseBytes(bytes, SKPFileInfo{});
    EXPECT_NEAR(area(m), 8 + 2 * std::numbers::pi, 0.02);
    EXPECT_NEAR(m.boundsMax.y, 9.5, 1e-3);  // the last pattern line
    EXPECT_EQ(m.stats.edges, 10);           // y = 0.5, 1.5, ... 9.5, each 10 long
    EXPECT_NEAR(totalLength(m), 100, 1e-3);
}

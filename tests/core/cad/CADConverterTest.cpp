#include "cad/CADConverter.h"

#include <gtest/gtest.h>

#include <cmath>
#include <string>
#include <tuple>

#include "cad/CADImporter.h"

using namespace vistrel;

namespace {

// A drawing of the given model-space entities; polyline vertices go to the pool.
struct Drawing {
    CADDrawing d;

    CADEntity& add(CADEntity::Kind kind) {
        CADEntity& e = d.entities.emplace_back();
        e.kind = kind;
        return e;
    }
    CADEntity& circle(CADPoint centre, double radius, CADPoint normal = {0, 0, 1}) {
        CADEntity& e = add(CADEntity::Kind::circle);
        e.a = centre;
        e.radius = radius;
        e.extrusion = normal;
        return e;
    }
    CADEntity& polyline(std::vector<CADVertex> vs, bool closed = false) {
        CADEntity& e = add(CADEntity::Kind::polyline);
        e.first = uint32_t(d.vertices.size());
        e.count = uint32_t(vs.size());
        e.closed = closed;
        d.vertices.insert(d.vertices.end(), vs.begin(), vs.end());
        return e;
    }
    CADEntity& spline(CADSpline s) {
        CADEntity& e = add(CADEntity::Kind::spline);
        e.detail = uint32_t(d.splines.size());
        d.splines.push_back(std::move(s));
        return e;
    }
    SKPModel convert() { return CADConverter::convert(std::move(d), SKPFileInfo{}); }
};

std::vector<Float3> edgePoints(const SKPModel& m) {
    std::vector<Float3> out;
    for (const EdgeSet& e : m.root.edges)
        out.insert(out.end(), e.positions.begin(), e.positions.end());
    return out;
}

// Largest distance of any segment end, and of any segment midpoint, from the circle.
std::pair<double, double> offCircle(const SKPModel& m, double cx, double cy, double r) {
    auto p = edgePoints(m);
    double ends = 0, mids = 0;
    for (size_t i = 0; i + 1 < p.size(); i += 2) {
        ends = std::max(ends, std::abs(std::hypot(p[i].x - cx, p[i].y - cy) - r));
        float mx = (p[i].x + p[i + 1].x) / 2, my = (p[i].y + p[i + 1].y) / 2;
        mids = std::max(mids, std::abs(std::hypot(mx - cx, my - cy) - r));
    }
    return {ends, mids};
}

}  // namespace

TEST(CADConverter, circlesStayWithinTheChordErrorOfTheDrawingsSize) {
    struct Case {
        double radius, drawingSide;  // a line of that length widens the drawing
        size_t minSegments, maxSegments;
    };
    for (Case c : {Case{1, 0, 8, 1024}, {500, 0, 8, 1024}, {0.01, 1000, 8, 8}, {5, 100, 8, 1024}}) {
        SCOPED_TRACE(c.radius);
        Drawing d;
        d.circle({0, 0, 0}, c.radius);
        if (c.drawingSide > 0) {
            CADEntity& l = d.add(CADEntity::Kind::line);
            l.a = {-c.drawingSide, 0, 0};
        }
        double size = std::max(2 * c.radius, c.drawingSide);
        SKPModel m = d.convert();
        size_t segments = edgePoints(m).size() / 2 - (c.drawingSide > 0 ? 1 : 0);
        EXPECT_GE(segments, c.minSegments);
        EXPECT_LE(segments, c.maxSegments);
        auto [ends, mids] = offCircle(m, 0, 0, c.radius);
        if (c.drawingSide > 0) continue;  // the line's ends lie off the circle
        EXPECT_LT(ends, c.radius * 1e-5);
        EXPECT_LT(mids, size * CADConverter::relativeChordError * 1.01);
    }
}

TEST(CADConverter, anArcOfManyTurnsIsOne) {
    Drawing twice, once;
    CADEntity& arc = twice.circle({0, 0, 0}, 1);
    arc.kind = CADEntity::Kind::arc;
    arc.start = 90;
    arc.end = 90 + 720 * 1000;
    once.circle({0, 0, 0}, 1);
    EXPECT_EQ(twice.convert().stats.edges, once.convert().stats.edges);
}

TEST(CADConverter, bulgesAreArcsAndWidthsAreStrips) {
    // (0, 0) to (10, 0): bulge 1 turns counter-clockwise below the chord, -1 above it.
    for (double bulge : {1.0, -1.0}) {
        Drawing d;
        d.polyline({{{0, 0, 2}, bulge}, {{10, 0, 2}}});
        SKPModel m = d.convert();
        EXPECT_LT(offCircle(m, 5, 0, 5).second, 0.01);
        EXPECT_NEAR(bulge > 0 ? m.boundsMin.y : m.boundsMax.y, -5 * bulge, 1e-3);
        EXPECT_EQ(m.boundsMin.z, 2);
    }
    // Two vertices, both bulged, closed: a whole circle; unbulged, one segment.
    Drawing round;
    round.polyline({{{0, 0, 0}, 1}, {{10, 0, 0}, 1}}, true);
    SKPModel circle = round.convert();
    EXPECT_NEAR(circle.boundsMax.y - circle.boundsMin.y, 10, 1e-3);
    // A strip 2 wide narrowing to nothing: two triangles over the chord, the outline kept.
    Drawing wide;
    wide.polyline({{{0, 0, 0}, 0, 2, 0}, {{10, 0, 0}}});
    SKPModel strip = wide.convert();
    ASSERT_EQ(strip.root.meshes.size(), 1u);
    EXPECT_EQ(strip.root.meshes[0].indices.size(), 6u);
    EXPECT_EQ(strip.boundsMin, (Float3{0, -1, 0}));
    EXPECT_EQ(strip.boundsMax, (Float3{10, 1, 0}));
    EXPECT_EQ(strip.stats.edges, 1);
}

TEST(CADConverter, ellipsesAndSplinesFollowTheirCurves) {
    Drawing d;
    CADEntity& e = d.add(CADEntity::Kind::ellipse);
    e.b = {0, 2, 0};  // major axis along Y, the minor one along -X
    e.radius = 0.5;
    e.start = 0;
    e.end = std::numbers::pi;  // the half on -X
    SKPModel ellipse = d.convert();
    for (Float3 p : edgePoints(ellipse)) EXPECT_NEAR(p.x * p.x + p.y * p.y / 4, 1, 1e-4);
    EXPECT_NEAR(ellipse.boundsMin.x, -1, 1e-4);
    EXPECT_NEAR(ellipse.boundsMax.x, 0, 1e-4);

    // A quadratic rational arc: a quarter of the unit circle, ends exact.
    const double w = std::sqrt(0.5);
    Drawing quarter;
    quarter.spline(
        {2, false, {0, 0, 0, 1, 1, 1}, {{1, 0, 0}, {1, 1, 0}, {0, 1, 0}}, {1, w, 1}, {}});
    SKPModel arc = quarter.convert();
    EXPECT_LT(offCircle(arc, 0, 0, 1).first, 1e-5);
    EXPECT_EQ(edgePoints(arc).front(), (Float3{1, 0, 0}));
    EXPECT_EQ(edgePoints(arc).back(), (Float3{0, 1, 0}));
    // A cubic Bezier peaks at 3/4 of its inner control points' height; a broken knot vector
    // is replaced, not trusted.
    for (std::vector<double> knots : {std::vector<double>{0, 0, 0, 0, 1, 1, 1, 1}, {1, 0}}) {
        Drawing cubic;
        cubic.spline({3, false, knots, {{0, 0, 0}, {1, 2, 0}, {3, 2, 0}, {4, 0, 0}}, {}, {}});
        SKPModel m = cubic.convert();
        EXPECT_NEAR(m.boundsMax.y, 1.5, 1e-3);
        EXPECT_EQ(m.boundsMax.x, 4);
    }
    // Fit points only: the curve passes through each.
    Drawing fitted;
    std::vector<CADPoint> fit{{0, 0, 0}, {1, 1, 0}, {2, 0, 0}, {3, 1, 0}};
    fitted.spline({3, false, {}, {}, {}, fit});
    auto points = edgePoints(fitted.convert());
    for (CADPoint f : fit) {
        bool found = false;
        for (Float3 p : points) found = found || (p.x == float(f.x) && p.y == float(f.y));
        EXPECT_TRUE(found) << f.x;
    }
}

TEST(CADConverter, theExtrusionDirectionMirrorsPlanarEntitiesAndInserts) {
    // Seen from below, the OCS's X runs along world -X.
    Drawing d;
    d.circle({3, 0, 1}, 1, {0, 0, -1});
    SKPModel m = d.convert();
    EXPECT_LT(offCircle(m, -3, 0, 1).first, 1e-5);
    EXPECT_EQ(m.boundsMin.z, -1);

    Drawing blocks;
    CADBlock& b = blocks.d.blocks.emplace_back();
    b.defined = true;
    CADEntity& line = b.entities.emplace_back();
    line.b = {1, 0, 0};
    CADEntity& in = blocks.add(CADEntity::Kind::insert);
    in.a = {5, 0, 0};
    in.b = {1, 1, 1};
    in.extrusion = {0, 0, -2};
    SKPModel mirrored = blocks.convert();
    const Float4x4& t = mirrored.root.children.at(0).transform;
    // In plan the block is mirrored: its X turns round, its Y stays.
    EXPECT_EQ(t.transformPoint({0, 0, 0}), (Float3{-5, 0, 0}));
    EXPECT_EQ(t.transformPoint({1, 0, 0}), (Float3{-6, 0, 0}));
    EXPECT_EQ(t.transformPoint({0, 1, 0}), (Float3{-5, 1, 0}));
}

TEST(CADConverter, theDXFFrontEndReadsCurvesAndTheirPlanes) {
    // An ELLIPSE, a SPLINE by control points, a wide LWPOLYLINE and a mirrored ARC.
    const std::string text =
        "0\nSECTION\n2\nENTITIES\n"
        "0\nELLIPSE\n10\n0\n20\n0\n30\n0\n11\n4\n21\n0\n31\n0\n40\n0.5\n41\n0\n42\n6.2831853\n"
        "0\nSPLINE\n70\n8\n71\n1\n40\n0\n40\n0\n40\n1\n40\n1\n10\n0\n20\n5\n30\n0\n10\n1\n20\n6\n30"
        "\n0\n"
        "0\nLWPOLYLINE\n43\n2\n10\n0\n20\n10\n10\n3\n20\n10\n"
        "0\nARC\n10\n1\n20\n0\n40\n1\n50\n0\n51\n90\n230\n-1\n"
        "0\nENDSEC\n0\nEOF\n";
    std::span<const uint8_t> bytes(reinterpret_cast<const uint8_t*>(text.data()), text.size());
    SKPModel m = CADImporter::parseBytes(bytes, SKPFileInfo{});
    EXPECT_NEAR(m.boundsMin.x, -4, 1e-5);
    EXPECT_NEAR(m.boundsMin.y, -2, 1e-3);  // within the chord error
    EXPECT_EQ(m.boundsMax.y, 11);          // the strip's upper side
    ASSERT_EQ(m.root.meshes.size(), 1u);
    EXPECT_EQ(m.root.meshes[0].indices.size(), 6u);
    auto points = edgePoints(m);
    bool splineEnd = false, mirroredArc = false;
    for (Float3 p : points) {
        splineEnd = splineEnd || p == Float3{1, 6, 0};
        mirroredArc = mirroredArc || (std::abs(p.x + 1) < 1e-5 && std::abs(p.y - 1) < 1e-5);
    }
    EXPECT_TRUE(splineEnd);
    EXPECT_TRUE(mirroredArc);
}

TEST(CADConverter, dimensionsLeadersMultileadersAndArraysComeThroughTheFrontEnd) {
    const std::string text =
        "0\nSECTION\n2\nBLOCKS\n"
        "0\nBLOCK\n2\n*D1\n10\n0\n20\n0\n0\nLINE\n10\n0\n20\n0\n11\n1\n21\n0\n0\nENDBLK\n"
        "0\nBLOCK\n2\nB\n0\nLINE\n10\n0\n20\n0\n11\n1\n21\n0\n0\nENDBLK\n0\nENDSEC\n"
        "0\nSECTION\n2\nENTITIES\n"
        "0\nDIMENSION\n2\n*D1\n10\n50\n20\n50\n"
        // No block: drawn from its points, 10 wide at y = 5, the text above.
        "0\nDIMENSION\n70\n1\n10\n0\n20\n5\n11\n5\n21\n6\n13\n0\n23\n0\n14\n10\n24\n0\n"
        "0\nMINSERT\n2\nB\n10\n100\n20\n0\n50\n90\n70\n3\n71\n2\n44\n10\n45\n5\n"
        "0\nLEADER\n10\n0\n20\n0\n10\n1\n20\n1\n10\n3\n20\n1\n"
        // A leader line from (0, 20) to its connection at (4, 24), and its text at (5, 25).
        "0\nMULTILEADER\n300\nCONTEXT_DATA{\n10\n9\n20\n9\n41\n1\n304\nNote\n12\n5\n22\n25\n"
        "302\nLEADER{\n10\n4\n20\n24\n304\nLEADER_LINE{\n10\n0\n20\n20\n305\n}\n303\n}\n"
        "301\n}\n"
        "0\nENDSEC\n0\nEOF\n";
    std::span<const uint8_t> bytes(reinterpret_cast<const uint8_t*>(text.data()), text.size());
    SKPModel m = CADImporter::parseBytes(bytes, SKPFileInfo{});
    ASSERT_EQ(m.root.children.size(), 7u);
    EXPECT_EQ(m.definitions.at(size_t(m.root.children[0].definition)).name, "*D1");
    EXPECT_EQ(m.root.children[0].transform, Float4x4::identity());
    // Columns run along the turned X (world Y), rows along world -X.
    auto at = [&](size_t i) { return m.root.children.at(i).transform.transformPoint({}); };
    for (auto [i, x, y] : {std::tuple{1, 100.f, 0.f}, {3, 100.f, 20.f}, {4, 95.f, 0.f}}) {
        EXPECT_NEAR(at(size_t(i)).x, x, 1e-5);
        EXPECT_NEAR(at(size_t(i)).y, y, 1e-5);
    }
    // The leaders' three segments, each block's line once, the dimension's three lines, and
    // text; the multileader's hangs from its location.
    EXPECT_GT(m.stats.edges, 3 + 2 + 3);
    EXPECT_NEAR(m.boundsMax.y, 25, 1e-5);
    bool leaderLine = false;
    for (const EdgeSet& e : m.root.edges)
        for (size_t i = 0; i + 1 < e.positions.size(); i += 2)
            leaderLine = leaderLine || (e.positions[i] == Float3{0, 20, 0} &&
                                        e.positions[i + 1] == Float3{4, 24, 0});
    EXPECT_TRUE(leaderLine);
    // Both leaders end in an arrow: one triangle each.
    ASSERT_EQ(m.root.meshes.size(), 1u);
    EXPECT_EQ(m.root.meshes[0].indices.size(), 6u);
}

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <string>
#include <vector>

#include "cad/DXFFrontEnd.h"
#include "cad/dwg/DWGFrontEnd.h"

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

void near(double got, double want, const char* what) {
    EXPECT_NEAR(got, want, 1e-9 * std::max(1.0, std::abs(want))) << what;
}

void near(const CADPoint& got, const CADPoint& want, const char* what) {
    near(got.x, want.x, what);
    near(got.y, want.y, what);
    near(got.z, want.z, what);
}

// A spline drawn through fit points keeps only them in a DWG; its DXF adds the control
// points they make.
void same(const CADSpline& got, const CADSpline& want) {
    EXPECT_EQ(got.degree, want.degree);
    EXPECT_EQ(got.closed, want.closed);
    ASSERT_EQ(got.fit.size(), want.fit.size());
    for (size_t i = 0; i < got.fit.size(); ++i) near(got.fit[i], want.fit[i], "fit point");
    if (got.control.empty() && !got.fit.empty()) return;
    ASSERT_EQ(got.knots.size(), want.knots.size());
    for (size_t i = 0; i < got.knots.size(); ++i) near(got.knots[i], want.knots[i], "knot");
    ASSERT_EQ(got.control.size(), want.control.size());
    for (size_t i = 0; i < got.control.size(); ++i)
        near(got.control[i], want.control[i], "control point");
    ASSERT_EQ(got.weights.size(), want.weights.size());
    for (size_t i = 0; i < got.weights.size(); ++i) near(got.weights[i], want.weights[i], "weight");
}

void same(const CADHatch& got, const CADHatch& want) {
    EXPECT_EQ(got.solid, want.solid);
    near(got.elevation, want.elevation, "elevation");
    ASSERT_EQ(got.loops.size(), want.loops.size());
    for (size_t l = 0; l < got.loops.size(); ++l) {
        const CADHatchLoop &a = got.loops[l], &b = want.loops[l];
        ASSERT_EQ(a.polyline.size(), b.polyline.size());
        for (size_t i = 0; i < a.polyline.size(); ++i) {
            near(a.polyline[i].position, b.polyline[i].position, "loop vertex");
            near(a.polyline[i].bulge, b.polyline[i].bulge, "bulge");
        }
        ASSERT_EQ(a.edges.size(), b.edges.size());
        for (size_t i = 0; i < a.edges.size(); ++i) {
            const CADHatchEdge &x = a.edges[i], &y = b.edges[i];
            EXPECT_EQ(x.kind, y.kind);
            EXPECT_EQ(x.counterClockwise, y.counterClockwise);
            near(x.a, y.a, "edge a");
            near(x.b, y.b, "edge b");
            near(x.radius, y.radius, "edge radius");
            near(x.startDeg, y.startDeg, "edge start");
            near(x.endDeg, y.endDeg, "edge end");
            same(x.spline, y.spline);
        }
    }
    ASSERT_EQ(got.pattern.size(), want.pattern.size());
    for (size_t i = 0; i < got.pattern.size(); ++i) {
        const CADHatchPatternLine &a = got.pattern[i], &b = want.pattern[i];
        near(a.angleDeg, b.angleDeg, "pattern angle");
        near(a.base, b.base, "pattern base");
        near(a.offset, b.offset, "pattern offset");
        ASSERT_EQ(a.dashes.size(), b.dashes.size());
        for (size_t d = 0; d < a.dashes.size(); ++d) near(a.dashes[d], b.dashes[d], "dash");
    }
}

// Anonymous blocks are numbered differently by each program: a dimension's block is known by
// its prefix and what it holds.
std::string blockOf(const CADDrawing& d, int block) {
    if (block < 0) return "none";
    const CADBlock& b = d.blocks[size_t(block)];
    std::string name = b.name.substr(0, b.name[0] == '*' ? 2 : std::string::npos);
    return name + " " + std::to_string(b.entities.size());
}

void same(const CADDrawing& gotDrawing, const CADEntity& gotEntity, const CADDrawing& wantDrawing,
          const CADEntity& wantEntity) {
    const CADDimension &got = gotDrawing.dimensions[gotEntity.detail],
                       &want = wantDrawing.dimensions[wantEntity.detail];
    EXPECT_EQ(got.type, want.type);
    near(got.line, want.line, "definition point");
    near(got.textMiddle, want.textMiddle, "text middle");
    near(got.first, want.first, "first point");
    near(got.second, want.second, "second point");
    near(got.onCurve, want.onCurve, "point on curve");
    near(got.rotationDeg, want.rotationDeg, "rotation");
    near(got.measurement, want.measurement, "measurement");
    EXPECT_EQ(blockOf(gotDrawing, gotEntity.block), blockOf(wantDrawing, wantEntity.block));
}

std::string withoutSpaces(std::string s) {
    std::erase(s, ' ');
    return s;
}

// The model space records of one kind, in file order.
std::vector<const CADEntity*> ofKind(const CADDrawing& d, CADEntity::Kind kind, bool mtext) {
    std::vector<const CADEntity*> out;
    for (const CADEntity& e : d.entities)
        if (e.kind == kind && (kind != CADEntity::Kind::text || d.texts[e.detail].mtext == mtext))
            out.push_back(&e);
    return out;
}

// SPLINE, MTEXT, DIMENSION and HATCH of each DWG as its DXF twin gives them.
TEST(DWGComplexEntities, matchTheirDXFTwins) {
    const char* pairs[][2] = {
        {"dwg/libredwg__example_2000.dwg", "dxf/libredwg__example_2000.dxfb"},
        {"dwg/acadsharp__sample_AC1015.dwg", "dxf/acadsharp__sample_AC1015_ascii.dxf"},
        {"dwg/libredwg__example_r14.dwg", "dxf/libredwg__example_r14.dxf"},
        {"dwg/libredwg__example_r13.dwg", "dxf/libredwg__example_r13.dxf"},
    };
    using Kind = CADEntity::Kind;
    size_t splines = 0, texts = 0, dimensions = 0, hatches = 0;
    for (const auto& [dwg, dxf] : pairs) {
        SCOPED_TRACE(dwg);
        if (!std::filesystem::exists(corpus() / dwg)) GTEST_SKIP() << "no corpus";
        const std::vector<uint8_t> dwgBytes = bytesOf(corpus() / dwg);
        const std::vector<uint8_t> dxfBytes = bytesOf(corpus() / dxf);
        const CADDrawing got = DWGFrontEnd(dwgBytes, {}, {}).read();
        const CADDrawing want = DXFFrontEnd(dxfBytes, {}, {}, nullptr).read();

        const auto gotSplines = ofKind(got, Kind::spline, false);
        const auto wantSplines = ofKind(want, Kind::spline, false);
        ASSERT_EQ(gotSplines.size(), wantSplines.size());
        splines += gotSplines.size();
        for (size_t i = 0; i < gotSplines.size(); ++i)
            same(got.splines[gotSplines[i]->detail], want.splines[wantSplines[i]->detail]);

        // The DXF front end also makes the texts of MULTILEADERs: each MTEXT is found among
        // them in order. ACadSharp's DXF writer drops the spaces where it cuts long contents.
        const auto gotTexts = ofKind(got, Kind::text, true);
        const auto wantTexts = ofKind(want, Kind::text, true);
        texts += gotTexts.size();
        size_t next = 0;
        for (const CADEntity* e : gotTexts) {
            const CADText& a = got.texts[e->detail];
            while (next < wantTexts.size() &&
                   withoutSpaces(want.texts[wantTexts[next]->detail].contents) !=
                       withoutSpaces(a.contents))
                ++next;
            ASSERT_LT(next, wantTexts.size()) << a.contents;
            near(a.insertion, want.texts[wantTexts[next++]->detail].insertion, "mtext insertion");
        }

        const auto gotDimensions = ofKind(got, Kind::dimension, false);
        const auto wantDimensions = ofKind(want, Kind::dimension, false);
        ASSERT_EQ(gotDimensions.size(), wantDimensions.size());
        dimensions += gotDimensions.size();
        for (size_t i = 0; i < gotDimensions.size(); ++i)
            same(got, *gotDimensions[i], want, *wantDimensions[i]);

        const auto gotHatches = ofKind(got, Kind::hatch, false);
        const auto wantHatches = ofKind(want, Kind::hatch, false);
        ASSERT_EQ(gotHatches.size(), wantHatches.size());
        hatches += gotHatches.size();
        for (size_t i = 0; i < gotHatches.size(); ++i) {
            near(gotHatches[i]->extrusion, wantHatches[i]->extrusion, "hatch extrusion");
            same(got.hatches[gotHatches[i]->detail], want.hatches[wantHatches[i]->detail]);
        }
    }
    EXPECT_GT(splines, 0u);
    EXPECT_GT(texts, 0u);
    EXPECT_GT(dimensions, 0u);
    EXPECT_GT(hatches, 0u);
}

}  // namespace
}  // namespace vistrel

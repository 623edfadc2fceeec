// The exported page as a person sees it: rasterised by poppler and looked at pixel by pixel, and
// compared with baselines.
#include <gtest/gtest.h>

#include <algorithm>
#include <cstdlib>
#include <fstream>
#include <tuple>

#include "PageRaster.h"
#include "TestEnv.h"
#include "ViewportTestModels.h"
#include "pdf/VectorPDFExporter.h"

using namespace vistrel;
using namespace vistrel::viewport;
using namespace vistrel::viewport::VectorPDFExporter;

namespace {

constexpr Float2 kPage{320, 240};

test::Raster render(const SKPModel& model, const Options& options, const test::TempDir& dir,
                    const std::string& name) {
    const auto pdf = renderPDF(model, options);
    const auto raster = pdf ? test::rasterisePDF(*pdf, dir.path(), name) : std::nullopt;
    EXPECT_TRUE(raster) << "no page, or pdftoppm failed";
    return raster.value_or(test::Raster{});
}

int distance(test::Raster::RGB a, test::Raster::RGB b) {
    return std::max({std::abs(a.r - b.r), std::abs(a.g - b.g), std::abs(a.b - b.b)});
}

test::Raster::RGB bytes(Float3 c) {
    return {int(std::lround(c.x * 255)), int(std::lround(c.y * 255)), int(std::lround(c.z * 255))};
}

// What pdfinfo says of a file.
std::string pdfInfo(const std::filesystem::path& pdf) {
    const std::string out = pdf.string() + ".txt";
    if (std::system(("pdfinfo '" + pdf.string() + "' > '" + out + "' 2>/dev/null").c_str()) != 0)
        return {};
    std::ifstream in(out);
    return {std::istreambuf_iterator<char>(in), {}};
}

}  // namespace

TEST(VectorPDFPage, backdropRunsFromTopStopToBottomStop) {
    test::TempDir dir;
    for (BackdropStyle style : allBackdropStyles) {
        Options o = initialViewOptions(test::centredCube(), kPage);
        o.backdropStyle = style;
        o.customBackdropColor = {0.9f, 0.2f, 0.1f};
        const auto raster = render(
            test::makeModel({}, {}, {}, {}, {-1, -1, -1}, {1, 1, 1}, "E.skp"), o, dir, "backdrop");
        ASSERT_EQ(raster.width, 320);
        ASSERT_EQ(raster.height, 240);
        const auto stops = Rendering::backdropGradientStops(style, o.customBackdropColor);
        EXPECT_LE(distance(raster.at(160, 0), bytes(stops.top)), 3) << rawValue(style);
        EXPECT_LE(distance(raster.at(160, 239), bytes(stops.bottom)), 3) << rawValue(style);
        EXPECT_LE(distance(raster.at(5, 100), bytes(stops.mid)), 3) << "0.42 of the way down";
    }
}

TEST(VectorPDFPage, pageSizesFallBackAndHaveFloors) {
    test::TempDir dir;
    Options o = initialViewOptions(test::centredCube(), {10, 10});
    o.pageSize = {10, 10};
    const auto raster = render(test::centredCube(), o, dir, "small");
    EXPECT_EQ(raster.width, 64);
    EXPECT_EQ(raster.height, 64);
    EXPECT_EQ(pageSizeForView(Float2{800, 600}, {2000, 1000}), (Float2{800, 600}));
    EXPECT_EQ(pageSizeForView(std::nullopt, {1000, 700}), (Float2{1000, 700}));
    EXPECT_EQ(pageSizeForView(std::nullopt, {1000, 10}), (Float2{1440, 900}));
    EXPECT_EQ(pageSizeForView(Float2{100, 100}, {}), (Float2{320, 240}));
}

TEST(VectorPDFPage, documentNamesFileAndCreator) {
    test::TempDir dir;
    ASSERT_FALSE(exportInitialView(SyntheticModel::cube(), dir / "out.pdf"));
    std::string info = pdfInfo(dir / "out.pdf");
    // pdfinfo pads its values into a column; one space is enough to compare.
    info.erase(
        std::unique(info.begin(), info.end(), [](char a, char b) { return a == ' ' && b == ' '; }),
        info.end());
    for (const char* line : {"Title: Cube\n", "Creator: Vistrel \xE2\x80\x94 Norvane Works\n",
                             "Pages: 1\n", "Page size: 1440 x 900 pts\n"})
        EXPECT_NE(info.find(line), std::string::npos) << line << info;
}

TEST(VectorPDFPage, unwritableDestinationReportsAndLeavesNothing) {
    test::TempDir dir;
    const auto missing = dir / "no-such-folder" / "out.pdf";
    const auto error = exportInitialView(SyntheticModel::cube(), missing, kPage);
    ASSERT_TRUE(error);
    EXPECT_NE(error->find("Cannot write"), std::string::npos);
    EXPECT_FALSE(std::filesystem::exists(missing));

    // A folder in the way: the rename fails, and the temporary file must not stay behind.
    std::filesystem::create_directory(dir / "taken.pdf");
    std::filesystem::create_directory(dir / "taken.pdf" / "inside");
    EXPECT_TRUE(exportInitialView(SyntheticModel::cube(), dir / "taken.pdf", kPage));
    EXPECT_EQ(std::distance(std::filesystem::directory_iterator(dir.path()), {}), 1);
}

TEST(VectorPDFPage, picturesMatchBaselines) {
    test::TempDir dir;
    const SKPModel synthetic = SyntheticModel::cube();
    using enum ShadingStyle;
    using enum BackdropStyle;
    const std::tuple<const char*, ShadingStyle, bool, BackdropStyle> cases[] = {
        {"pdf_synthetic_textured", textured, false, architecturalSky},
        {"pdf_synthetic_clay_grid", clay, true, warmPaper},
        {"pdf_synthetic_xray", xray, false, studioDark},
        {"pdf_synthetic_wireframe", wireframe, true, studioDark}};
    for (const auto& [name, style, grid, backdrop] : cases) {
        Options o = initialViewOptions(synthetic, kPage);
        o.shadingStyle = style;
        o.showsGrid = grid;
        o.backdropStyle = backdrop;
        EXPECT_EQ(test::compareWithBaseline(render(synthetic, o, dir, name), name), "") << name;
    }
}

TEST(VectorPDFPage, equalDepthsPaintInListOrder) {
    // Two coplanar squares seen straight from above: the later mesh covers the earlier.
    Definition root;
    root.meshes = {test::square(0, 0, 1), test::square(0, 0, 1)};
    root.meshes[0].material = 0;
    root.meshes[1].material = 1;
    const SKPModel model = test::makeModel(std::move(root), {},
                                           {{"red", {0.9f, 0.1f, 0.1f, 1}, 1, false, {}, {1, 1}},
                                            {"blue", {0.1f, 0.1f, 0.9f, 1}, 1, false, {}, {1, 1}}},
                                           {}, {-1, -1, 0}, {1, 1, 0}, "Order.skp");
    Options o = initialViewOptions(model, kPage);
    o.showsEdges = false;
    test::TempDir dir;
    const auto centre = render(model, o, dir, "order").at(160, 120);
    EXPECT_GT(centre.b, centre.r + 40) << "the second square is on top";
}

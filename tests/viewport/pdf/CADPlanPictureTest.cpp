// Three plans of the corpus through the CAD importer, as the exported page of the view they open
// on: text, hatches, dimensions and arcs where they belong, large enough to read.
#include <gtest/gtest.h>

#include "ImageCompare.h"
#include "PageRaster.h"
#include "TestEnv.h"
#include "cad/CADReader.h"
#include "pdf/VectorPDFExporter.h"

using namespace vistrel;
using namespace vistrel::viewport;

TEST(CADPlanPicture, corpusPlansMatchTheirBaselines) {
    auto dir = test::corpusDir();
    if (!dir || !std::filesystem::exists(*dir / "dxf/bnortierdxf__floorplan.dxf"))
        GTEST_SKIP() << "no corpus";
    test::ScopedEnv importer("VISTREL_FORCE_NATIVE_DXF", nullptr);
    test::TempDir out;
    for (const char* plan :
         {"bnortierdxf__floorplan", "bnortierdxf__Ceco.NET-Architecture-Tm-53", "netdxf__sample"}) {
        SCOPED_TRACE(plan);
        auto path = *dir / "dxf" / (std::string(plan) + ".dxf");
        SKPModel model = CADReader::load(path, SKPFileInfo::read(path), {}, {});
        auto options = VectorPDFExporter::initialViewOptions(model, {1200, 900});
        auto pdf = VectorPDFExporter::renderPDF(model, options);
        ASSERT_TRUE(pdf);
        auto raster = test::rasterisePDF(*pdf, out.path(), plan);
        ASSERT_TRUE(raster);
        std::string name = std::string("cad_") + plan;
        for (char& c : name)
            if (c == '.' || c == '-') c = '_';
        EXPECT_EQ(test::compareWithBaseline(*raster, name), "");
    }
}

// A DWG draws the same page as the DXF the same drawing was saved as, release by release.
TEST(CADPlanPicture, drawingsMatchTheirDXFTwinsAsPictures) {
    auto dir = test::corpusDir();
    if (!dir || !std::filesystem::exists(*dir / "dwg/acadsharp__sample_AC1015.dwg"))
        GTEST_SKIP() << "no corpus";
    test::TempDir out;
    auto page = [&](const std::string& file) {
        const auto path = *dir / file;
        SKPModel model = CADReader::load(path, SKPFileInfo::read(path), {}, {});
        auto pdf = VectorPDFExporter::renderPDF(
            model, VectorPDFExporter::initialViewOptions(model, {900, 600}));
        std::string name = path.filename().string();
        for (char& c : name)
            if (c == '.') c = '_';
        return pdf ? test::rasterisePDF(*pdf, out.path(), name) : std::nullopt;
    };
    const std::pair<const char*, const char*> pairs[] = {
        {"libredwg__example_2000.dwg", "libredwg__example_2000.dxfb"},
        {"libredwg__example_2007.dwg", "libredwg__example_2007.dxf"},
        {"libredwg__example_2018.dwg", "libredwg__example_2018.dxf"},
        {"acadsharp__sample_AC1015.dwg", "acadsharp__sample_AC1015_ascii.dxf"},
        {"acadsharp__sample_AC1018.dwg", "acadsharp__sample_AC1018_ascii.dxf"},
        {"acadsharp__sample_AC1021.dwg", "acadsharp__sample_AC1021_ascii.dxf"},
        {"acadsharp__sample_AC1024.dwg", "acadsharp__sample_AC1024_ascii.dxf"},
        {"acadsharp__sample_AC1027.dwg", "acadsharp__sample_AC1027_ascii.dxf"},
        {"acadsharp__sample_AC1032.dwg", "acadsharp__sample_AC1032_ascii.dxf"},
    };
    for (const auto& [dwg, dxf] : pairs) {
        SCOPED_TRACE(dwg);
        const auto drawn = page(std::string("dwg/") + dwg);
        const auto twin = page(std::string("dxf/") + dxf);
        ASSERT_TRUE(drawn && twin);
        ASSERT_EQ(drawn->width, twin->width);
        ASSERT_EQ(drawn->height, twin->height);
        size_t differing = 0, inked = 0;
        for (size_t i = 0; i < twin->rgb.size(); i += 3) {
            int d = 0;
            for (size_t c = 0; c < 3; ++c)
                d = std::max(d, std::abs(int(drawn->rgb[i + c]) - int(twin->rgb[i + c])));
            differing += d > 24;
            inked += twin->rgb[i] < 128;
        }
        EXPECT_GT(inked, 500u) << "the twin's page is nearly blank";
        // Anti-aliasing may differ where lines cross in another order.
        EXPECT_LE(differing, twin->rgb.size() / 3 / 1000) << differing << " pixels differ";
    }
}

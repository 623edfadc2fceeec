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

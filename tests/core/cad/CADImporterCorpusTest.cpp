// The shared corpus through the CAD importer: every DXF loads or fails cleanly, and where the
// manifest counts text, hatches or dimensions the drawing shows them; and CADReader routes a DXF
// through the importer unless told otherwise.
#include <gtest/gtest.h>

#include <fstream>
#include <sstream>

#include "TestEnv.h"
#include "cad/CADConverter.h"
#include "cad/CADImporter.h"
#include "cad/CADReader.h"
#include "cad/DXFFrontEnd.h"
#include "dxf/MappedFile.h"
#include "model/SKPError.h"

using namespace vistrel;
using namespace vistrel::test;

namespace {

// Count of `kind` in the manifest's entity_counts column ("TEXT=29;LINE=28;...").
int manifestCount(const std::string& counts, const std::string& kind) {
    std::istringstream in(counts);
    std::string item;
    while (std::getline(in, item, ';'))
        if (item.rfind(kind + "=", 0) == 0) return std::stoi(item.substr(kind.size() + 1));
    return 0;
}

}  // namespace

TEST(CADImporterCorpus, textHatchesAndDimensionsAreDrawnWhereTheManifestListsThem) {
    auto dir = corpusDir();
    if (!dir || !std::filesystem::exists(*dir / "MANIFEST.tsv")) GTEST_SKIP() << "no corpus";
    std::ifstream manifest(*dir / "MANIFEST.tsv");
    std::string row;
    std::getline(manifest, row);  // header
    int withText = 0;
    while (std::getline(manifest, row)) {
        std::vector<std::string> cells;
        std::istringstream in(row);
        for (std::string cell; std::getline(in, cell, '\t');) cells.push_back(cell);
        if (cells.size() < 9 || cells[0].rfind("dxf/", 0) != 0) continue;
        auto path = *dir / cells[0];
        if (!std::filesystem::exists(path)) continue;
        SCOPED_TRACE(cells[0]);
        SKPFileInfo info = SKPFileInfo::read(path);
        try {
            CADImporter::parse(path, info, {}, {});
        } catch (const SKPError&) {
            continue;
        }
        // The records of one kind alone, with the blocks they may name, must draw something.
        MappedFile file(path);
        auto drawsAlone = [&](CADEntity::Kind kind) {
            CADDrawing drawing = DXFFrontEnd(file.bytes(), {}, {}, nullptr).read();
            std::erase_if(drawing.entities, [&](const CADEntity& e) { return e.kind != kind; });
            EXPECT_FALSE(drawing.entities.empty());
            Stats stats = CADConverter::convert(std::move(drawing), info).stats;
            return stats.edges + stats.faces > 0;
        };
        if (manifestCount(cells[7], "TEXT") + manifestCount(cells[7], "MTEXT") +
                manifestCount(cells[7], "ATTRIB") >
            0) {
            ++withText;
            EXPECT_TRUE(drawsAlone(CADEntity::Kind::text));
        }
        if (manifestCount(cells[7], "HATCH") > 0) {
            EXPECT_TRUE(drawsAlone(CADEntity::Kind::hatch));
        }
        if (manifestCount(cells[7], "DIMENSION") > 0) {
            EXPECT_TRUE(drawsAlone(CADEntity::Kind::dimension));
        }
    }
    EXPECT_GT(withText, 0);
}

TEST(CADReaderRouting, aDXFGoesThroughTheImporterUnlessForcedNative) {
    TempDir dir;
    auto path = dir.path() / "label.dxf";
    std::ofstream(path) << "0\nSECTION\n2\nENTITIES\n0\nTEXT\n1\nA\n40\n1\n0\nENDSEC\n0\nEOF\n";
    SKPFileInfo info = SKPFileInfo::read(path);
    ScopedEnv unset("VISTREL_FORCE_NATIVE_DXF", nullptr);
    EXPECT_GT(CADReader::load(path, info, {}, {}).stats.edges, 0);  // the letter's strokes
    ScopedEnv force("VISTREL_FORCE_NATIVE_DXF", "1");
    EXPECT_EQ(CADReader::load(path, info, {}, {}).stats.edges, 0);  // the narrow parser skips it
}

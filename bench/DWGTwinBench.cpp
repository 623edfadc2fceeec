// A DWG must load no slower per entity than its DXF twin. For each pair of the shared corpus:
// the front end alone (DWGFrontEnd, DXFFrontEnd) and the whole importer (CADImporter, records
// to model), best of several runs, in microseconds per entity record.
// Usage: dwg_twin_bench [corpus dir] (default $VISTREL_CORPUS_DIR, else shared/corpus).
#include <algorithm>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <vector>

#include "cad/CADImporter.h"
#include "cad/DXFFrontEnd.h"
#include "cad/dwg/DWGFrontEnd.h"
#include "identify/SKPFileInfo.h"

using namespace vistrel;
namespace fs = std::filesystem;

namespace {

std::vector<uint8_t> bytesOf(const fs::path& p) {
    std::ifstream in(p, std::ios::binary);
    return {std::istreambuf_iterator<char>(in), {}};
}

template <typename F>
double best(F&& f) {
    double s = 1e9;
    for (int i = 0; i < 7; ++i) {
        auto start = std::chrono::steady_clock::now();
        f();
        s = std::min(
            s, std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count());
    }
    return s;
}

size_t records(const CADDrawing& d) {
    size_t n = d.entities.size();
    for (const CADBlock& b : d.blocks) n += b.entities.size();
    return n;
}

}  // namespace

int main(int argc, char** argv) {
    const char* env = std::getenv("VISTREL_CORPUS_DIR");
    const fs::path dir = argc > 1 ? argv[1] : env ? env : "shared/corpus";
    const std::pair<const char*, const char*> pairs[] = {
        {"dwg/libredwg__example_2000.dwg", "dxf/libredwg__example_2000.dxfb"},
        {"dwg/acadsharp__sample_AC1015.dwg", "dxf/acadsharp__sample_AC1015_ascii.dxf"},
        {"dwg/libredwg__example_r14.dwg", "dxf/libredwg__example_r14.dxf"},
        {"dwg/libredwg__example_r13.dwg", "dxf/libredwg__example_r13.dxf"},
        {"dwg/libredwg__example_2007.dwg", "dxf/libredwg__example_2007.dxf"},
        {"dwg/libredwg__example_2018.dwg", "dxf/libredwg__example_2018.dxf"},
        {"dwg/acadsharp__sample_AC1018.dwg", "dxf/acadsharp__sample_AC1018_ascii.dxf"},
        {"dwg/acadsharp__sample_AC1021.dwg", "dxf/acadsharp__sample_AC1021_ascii.dxf"},
        {"dwg/acadsharp__sample_AC1024.dwg", "dxf/acadsharp__sample_AC1024_ascii.dxf"},
        {"dwg/acadsharp__sample_AC1027.dwg", "dxf/acadsharp__sample_AC1027_ascii.dxf"},
        {"dwg/acadsharp__sample_AC1032.dwg", "dxf/acadsharp__sample_AC1032_ascii.dxf"},
    };
    std::printf("%-36s %9s %9s %9s %9s   (us per record; front end, importer)\n", "", "DWG fe",
                "DXF fe", "DWG imp", "DXF imp");
    for (auto [dwg, dxf] : pairs) {
        if (!fs::exists(dir / dwg)) continue;
        const std::vector<uint8_t> a = bytesOf(dir / dwg), b = bytesOf(dir / dxf);
        const size_t na = records(DWGFrontEnd(a, {}, {}).read());
        const size_t nb = records(DXFFrontEnd(b, {}, {}, nullptr).read());
        const SKPFileInfo ia = SKPFileInfo::parse(a, dir / dwg, int64_t(a.size()));
        const SKPFileInfo ib = SKPFileInfo::parse(b, dir / dxf, int64_t(b.size()));
        const double fa = best([&] { DWGFrontEnd(a, {}, {}).read(); });
        const double fb = best([&] { DXFFrontEnd(b, {}, {}, nullptr).read(); });
        const double ca = best([&] { CADImporter::parseBytes(a, ia); });
        const double cb = best([&] { CADImporter::parseBytes(b, ib); });
        std::printf("%-36s %9.2f %9.2f %9.2f %9.2f   (%zu / %zu records)\n",
                    fs::path(dwg).filename().c_str(), fa * 1e6 / double(na), fb * 1e6 / double(nb),
                    ca * 1e6 / double(na), cb * 1e6 / double(nb), na, nb);
    }
    return 0;
}

// Time to open the container of every R2004-and-later DWG in the shared corpus: decryption,
// maps and decompression of the sections the object reader walks. One line per file (best of
// five, milliseconds, MB of sections per second), then the total.
// Usage: dwg_container_bench [corpus dir] (default $VISTREL_CORPUS_DIR, else shared/corpus).
#include <algorithm>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <vector>

#include "cad/dwg/DWGR2004Container.h"
#include "cad/dwg/DWGR2007Container.h"

using namespace vistrel;
namespace fs = std::filesystem;

int main(int argc, char** argv) {
    const char* env = std::getenv("VISTREL_CORPUS_DIR");
    fs::path dir = fs::path(argc > 1 ? argv[1] : env ? env : "shared/corpus") / "dwg";
    if (!fs::is_directory(dir)) {
        std::fprintf(stderr, "no corpus at %s\n", dir.c_str());
        return 1;
    }
    std::vector<fs::path> files;
    for (const auto& e : fs::directory_iterator(dir))
        if (e.is_regular_file()) files.push_back(e.path());
    std::sort(files.begin(), files.end());
    double total = 0;
    for (const fs::path& path : files) {
        std::ifstream in(path, std::ios::binary);
        const std::vector<uint8_t> file{std::istreambuf_iterator<char>(in), {}};
        const std::string_view code(reinterpret_cast<const char*>(file.data()),
                                    std::min<size_t>(file.size(), 6));
        if (code < "AC1018" || code > "AC1032" || code.size() < 6) continue;
        double best = 1e9;
        size_t bytes = 0;
        try {
            for (int run = 0; run < 5; ++run) {
                const auto start = std::chrono::steady_clock::now();
                const DWGSections s = code == "AC1021" ? DWGR2007Container::read(file)
                                                       : DWGR2004Container::read(file);
                const std::chrono::duration<double> took = std::chrono::steady_clock::now() - start;
                best = std::min(best, took.count());
                bytes = s.header.size() + s.classes.size() + s.handles.size() + s.objects.size() +
                        s.preview.size();
            }
        } catch (const DWGFormatError& e) {
            std::printf("%-48s %s\n", path.filename().c_str(), e.what());
            continue;
        }
        total += best;
        std::printf("%-48s %s %8.2f ms %8.1f MB/s of sections (%zu KB)\n", path.filename().c_str(),
                    std::string(code).c_str(), best * 1e3, double(bytes) / 1e6 / best,
                    bytes / 1024);
    }
    std::printf("total %.2f ms\n", total * 1e3);
    return 0;
}

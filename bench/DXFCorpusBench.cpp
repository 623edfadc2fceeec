// Load time of every DXF in the shared corpus through SKPReader::load with the native reader:
// one line per file (seconds, MB/s, or the error), then the slowest file. Each file should load
// well within 30 s even in a debug build; files past that are marked.
// Usage: dxf_corpus_bench [corpus dir] (default $VISTREL_CORPUS_DIR, else shared/corpus).
#include <algorithm>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <vector>

#include "model/SKPError.h"
#include "sketchup/SKPReader.h"

using namespace vistrel;
namespace fs = std::filesystem;

int main(int argc, char** argv) {
    const char* env = std::getenv("VISTREL_CORPUS_DIR");
    fs::path dir = fs::path(argc > 1 ? argv[1] : env ? env : "shared/corpus") / "dxf";
    if (!fs::is_directory(dir)) {
        std::fprintf(stderr, "no corpus at %s\n", dir.c_str());
        return 1;
    }
    setenv("VISTREL_FORCE_NATIVE_DXF", "1", 1);
    std::vector<fs::path> files;
    for (const auto& e : fs::directory_iterator(dir))
        if (e.is_regular_file()) files.push_back(e.path());
    std::sort(files.begin(), files.end());
    constexpr double bound = 30;
    double slowest = 0, total = 0;
    fs::path slowestFile;
    for (const fs::path& path : files) {
        double mb = double(fs::file_size(path)) / 1e6;
        auto start = std::chrono::steady_clock::now();
        const char* error = nullptr;
        try {
            SKPReader::load(path);
        } catch (const SKPError&) {
            error = "SKPError";
        }
        double s = std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count();
        total += s;
        if (s > slowest) slowest = s, slowestFile = path.filename();
        std::printf("%-56s %8.3f s %8.1f MB/s%s%s\n", path.filename().c_str(), s, mb / s,
                    error ? "  " : "", error ? error : "");
        if (s > bound) std::printf("  ^ past the %.0f s bound\n", bound);
    }
    std::printf("\n%zu files in %.2f s; slowest %s at %.3f s (bound %.0f s)\n", files.size(), total,
                slowestFile.c_str(), slowest, bound);
    return 0;
}

// Vector PDF export of a heavy plan: 1 million triangles and 1 million edges by default (the
// first argument sets the triangle count). Prints seconds, CPU seconds, peak memory and PDF size
// of a flat plan and of a relief whose every triangle takes its own shade.
//
//   build/release/bench/pdf_export_bench [triangles [folder to keep the PDFs in]]
#include <sys/resource.h>

#include <chrono>
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <string>

#include "model/SKPModel.h"
#include "pdf/VectorPDFExporter.h"

using namespace vistrel;
using namespace vistrel::viewport;
namespace fs = std::filesystem;

namespace {

// Twice the default page: at 1440 x 900 points a million-triangle plan's triangles fall under
// the heavy-model minimum area and only edges would be drawn.
constexpr Float2 kPage{2880, 1800};

// A grid of nx by ny one-metre cells: two triangles per cell, and for each cell its lower and
// left side as edges, so triangles and edges are equal in number. With relief, a gentle swell
// (still flat enough to count as a plan) gives nearly every triangle its own shade and mixes
// edges among triangles in depth: the worst case, where no two neighbours paint alike.
float height(bool relief, int nx, float x, float y) {
    return relief ? 0.004f * float(nx) * std::sin(x * 0.37f) * std::cos(y * 0.23f) : 0;
}

SKPModel plan(int nx, int ny, bool relief) {
    Mesh mesh;
    mesh.positions.reserve(size_t(nx + 1) * size_t(ny + 1));
    mesh.normals.reserve(mesh.positions.capacity());
    const float amplitude = relief ? 0.004f * float(nx) : 0;
    for (int y = 0; y <= ny; ++y)
        for (int x = 0; x <= nx; ++x) {
            const float fx = float(x), fy = float(y);
            mesh.positions.push_back({fx, fy, height(relief, nx, fx, fy)});
            const float dx = amplitude * 0.37f * std::cos(fx * 0.37f) * std::cos(fy * 0.23f);
            const float dy = -amplitude * 0.23f * std::sin(fx * 0.37f) * std::sin(fy * 0.23f);
            mesh.normals.push_back(normalize(Float3{-dx, -dy, 1}));
        }
    mesh.indices.reserve(size_t(nx) * size_t(ny) * 6);
    EdgeSet edges;
    edges.positions.reserve(size_t(nx) * size_t(ny) * 4);
    for (int y = 0; y < ny; ++y)
        for (int x = 0; x < nx; ++x) {
            const uint32_t a = uint32_t(y * (nx + 1) + x), b = a + 1, c = a + uint32_t(nx) + 1,
                           d = c + 1;
            mesh.indices.insert(mesh.indices.end(), {a, b, d, a, d, c});
            edges.positions.insert(edges.positions.end(), {mesh.positions[a], mesh.positions[b],
                                                           mesh.positions[a], mesh.positions[c]});
        }
    Definition root;
    root.meshes.push_back(std::move(mesh));
    root.edges.push_back(std::move(edges));
    const int64_t cells = int64_t(nx) * ny;
    SKPFileInfo info;
    info.url = "Plan.dxf";
    return SKPModel(std::move(root), {}, {}, {{"0", true, std::nullopt}}, {}, std::nullopt,
                    {0, 0, -amplitude}, {float(nx), float(ny), amplitude},
                    {cells, cells * 2, cells * 2, 0, 0, 0}, std::move(info), std::nullopt,
                    std::nullopt);
}

double peakMiB(int who) {
    rusage usage{};
    getrusage(who, &usage);
    return double(usage.ru_maxrss) / 1024;  // kilobytes on Linux
}

// Processor seconds of this process: the machine may be shared, and wall time then says little.
double cpuSeconds() {
    rusage usage{};
    getrusage(RUSAGE_SELF, &usage);
    return double(usage.ru_utime.tv_sec + usage.ru_stime.tv_sec) +
           double(usage.ru_utime.tv_usec + usage.ru_stime.tv_usec) / 1e6;
}

double seconds(std::chrono::steady_clock::time_point since) {
    return std::chrono::duration<double>(std::chrono::steady_clock::now() - since).count();
}

}  // namespace

int main(int argc, char** argv) {
    const long triangles = argc > 1 ? std::atol(argv[1]) : 1'000'000;
    const int ny = std::max(1, int(std::sqrt(double(triangles) / 4)));
    const int nx = std::max(1, int(triangles / 2 / ny));
    const fs::path dir =
        fs::temp_directory_path() / ("vistrel-pdf-bench-" + std::to_string(getpid()));
    fs::create_directories(dir);

    auto finish = [&] {
        if (argc > 2) {
            std::error_code ec;
            fs::create_directories(argv[2], ec);
            for (const char* name : {"vistrel-flat.pdf", "vistrel-relief.pdf"})
                if (fs::exists(dir / name))
                    fs::copy_file(dir / name, fs::path(argv[2]) / name,
                                  fs::copy_options::overwrite_existing, ec);
        }
        fs::remove_all(dir);
    };
    for (bool relief : {false, true}) {
        const SKPModel model = plan(nx, ny, relief);
        if (!relief)
            std::printf("plan: %d x %d cells, %lld triangles, %lld edges\n", nx, ny,
                        (long long)model.stats.triangles, (long long)model.stats.edges);
        const double before = peakMiB(RUSAGE_SELF);
        const auto start = std::chrono::steady_clock::now();
        const double cpuStart = cpuSeconds();
        const auto options = VectorPDFExporter::initialViewOptions(model, kPage);
        const auto pdf = VectorPDFExporter::renderPDF(model, options);
        if (!pdf) {
            std::fprintf(stderr, "export failed\n");
            return 1;
        }
        const auto error = VectorPDFExporter::writeFile(
            *pdf, dir / (relief ? "vistrel-relief.pdf" : "vistrel-flat.pdf"));
        const double took = seconds(start), cpu = cpuSeconds() - cpuStart;
        if (error) {
            std::fprintf(stderr, "%s\n", error->c_str());
            return 1;
        }
        // Peak memory only grows: the second run's figure counts only if it is the larger.
        std::printf(
            "vistrel %s: %.2f s (%.2f s CPU), peak memory %.0f MiB (%.0f MiB over the first "
            "model), PDF %.1f MiB\n",
            relief ? "relief (every triangle its own shade)" : "flat plan", took, cpu,
            peakMiB(RUSAGE_SELF), peakMiB(RUSAGE_SELF) - before,
            double(pdf->size()) / (1024 * 1024));
    }
    finish();
    return 0;
}

// Vector PDF export of a heavy plan: 1 million triangles and 1 million edges by default (the
// first argument sets the triangle count). Prints seconds, peak memory and PDF size, then times
// LibreCAD's console dxf2pdf on the same drawing written as a DXF plan, and the ratio.
//
//   build/release/bench/pdf_export_bench [triangles [folder to keep the PDFs in]]
#include <sys/resource.h>

#include <chrono>
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>
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

// The same drawing as an R12 DXF: a SOLID per triangle and a LINE per edge.
void writeDXF(const fs::path& path, int nx, int ny) {
    std::FILE* f = std::fopen(path.c_str(), "w");
    if (!f) return;
    std::fputs(
        "0\nSECTION\n2\nHEADER\n9\n$ACADVER\n1\nAC1009\n0\nENDSEC\n0\nSECTION\n2\nENTITIES\n", f);
    for (int y = 0; y < ny; ++y)
        for (int x = 0; x < nx; ++x) {
            std::fprintf(f,
                         "0\nSOLID\n8\n0\n62\n8\n10\n%d\n20\n%d\n11\n%d\n21\n%d\n12\n%d\n22\n%d\n"
                         "13\n%d\n23\n%d\n",
                         x, y, x + 1, y, x + 1, y + 1, x + 1, y + 1);
            std::fprintf(f,
                         "0\nSOLID\n8\n0\n62\n8\n10\n%d\n20\n%d\n11\n%d\n21\n%d\n12\n%d\n22\n%d\n"
                         "13\n%d\n23\n%d\n",
                         x, y, x + 1, y + 1, x, y + 1, x, y + 1);
            std::fprintf(f, "0\nLINE\n8\n0\n10\n%d\n20\n%d\n11\n%d\n21\n%d\n", x, y, x + 1, y);
            std::fprintf(f, "0\nLINE\n8\n0\n10\n%d\n20\n%d\n11\n%d\n21\n%d\n", x, y, x, y + 1);
        }
    std::fputs("0\nENDSEC\n0\nEOF\n", f);
    std::fclose(f);
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
            for (const char* name : {"vistrel-flat.pdf", "vistrel-relief.pdf", "plan.pdf"})
                if (fs::exists(dir / name))
                    fs::copy_file(dir / name, fs::path(argv[2]) / name,
                                  fs::copy_options::overwrite_existing, ec);
        }
        fs::remove_all(dir);
    };
    double flatSeconds = 0, flatCPU = 0;
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
        if (!relief) {
            flatSeconds = took;
            flatCPU = cpu;
        }
    }
    const double ours = flatSeconds, oursCPU = flatCPU;

    if (std::system("command -v librecad >/dev/null 2>&1") != 0) {
        std::printf("librecad: not installed, comparison skipped (apt-get install librecad)\n");
        finish();
        return 0;
    }
    // dxf2pdf writes beside its input, whatever -o says.
    const fs::path dxf = dir / "plan.dxf", theirs = dir / "plan.pdf";
    writeDXF(dxf, nx, ny);
    std::printf("plan.dxf: %.1f MiB\n", double(fs::file_size(dxf)) / (1024 * 1024));
    // dxf2pdf is a Qt program: it wants a display even in console mode. The Debian 12 build
    // (LibreCAD 2.2) ignores -p and -o: it fits the drawing on A4 beside its input.
    const std::string command =
        (std::system("command -v xvfb-run >/dev/null 2>&1") == 0 ? "xvfb-run -a " : "") +
        std::string("librecad dxf2pdf -a '") + dxf.string() + "' >/dev/null 2>&1";
    // Its peak memory comes from GNU time when installed: the rusage of a child forked from
    // this large process would count the pages it shared with us.
    const bool gnuTime = std::system("test -x /usr/bin/time") == 0;
    const fs::path memory = dir / "librecad.kib";
    const std::string timed =
        gnuTime ? "/usr/bin/time -f '%M %U %S' -o '" + memory.string() + "' " + command : command;
    const auto lcStart = std::chrono::steady_clock::now();
    const int rc = std::system(timed.c_str());
    const double lc = seconds(lcStart);
    if (rc != 0 || !fs::exists(theirs)) {
        std::printf("librecad dxf2pdf: failed (status %d) after %.2f s\n", rc, lc);
    } else {
        long kib = 0;
        double user = 0, system = 0;
        if (std::ifstream in(memory); in) in >> kib >> user >> system;
        std::printf("librecad dxf2pdf: %.2f s (%.2f s CPU), peak memory %s, PDF %.1f MiB\n", lc,
                    user + system,
                    kib > 0 ? (std::to_string(kib / 1024) + " MiB").c_str() : "not measured",
                    double(fs::file_size(theirs)) / (1024 * 1024));
        std::printf("ratio librecad / vistrel (flat plan): %.2f wall, %.2f CPU\n", lc / ours,
                    oursCPU > 0 && user + system > 0 ? (user + system) / oursCPU : 0.0);
    }
    finish();
    return 0;
}

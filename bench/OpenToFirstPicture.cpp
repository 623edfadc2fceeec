// A large plan from its file to its first headless picture, in one process per plan: the load
// (SKPReader::load, the importer for DXF), the scene assembly and the first picture through the
// same offscreen EGL path as vistrel-inspect --png, at 1380 x 820. Prints each phase's seconds
// and the peak resident memory against the targets (100 MB plan 2.5 s, 1 GB plan 20 s, peak
// memory 5 x the file).
//
//   build/release/bench/open_to_first_picture [--small] [--keep DIR] [PLAN...]
//
// Without plans it generates the 100 MB and 1 GB plans into a temporary folder (--small: only
// the 100 MB one; --keep: into DIR, reused when there) and removes them at the end. Each plan
// runs in a child process so that its peak memory is its own.
#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>

#include <chrono>
#include <cstdio>
#include <cstring>
#include <filesystem>
#include <string>
#include <vector>

#include "DXFPlanGenerator.h"
#include "gl/HeadlessSnapshot.h"
#include "scene/ViewportScene.h"
#include "sketchup/SKPReader.h"

using namespace vistrel;
namespace fs = std::filesystem;

namespace {

double since(std::chrono::steady_clock::time_point start) {
    return std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count();
}

double peakBytes() {
    rusage usage{};
    getrusage(RUSAGE_SELF, &usage);
    return double(usage.ru_maxrss) * 1024.0;
}

// Runs in the child: one line of figures, status 0 when the picture came out.
int openToFirstPicture(const fs::path& plan, double targetSeconds) {
    const double fileBytes = double(fs::file_size(plan));
    const auto start = std::chrono::steady_clock::now();
    SKPModel model = SKPReader::load(plan);
    const double load = since(start);
    const double loadPeak = peakBytes();
    auto t = std::chrono::steady_clock::now();
    viewport::ViewportScene scene(std::move(model));
    const double assembly = since(t);
    const double assemblyPeak = peakBytes();
    t = std::chrono::steady_clock::now();
    std::string error;
    auto image = viewport::HeadlessSnapshot::render(scene, {1380, 820}, error);
    const double picture = since(t);
    const double total = since(start);
    if (!image) {
        std::fprintf(stderr, "open_to_first_picture: %s\n", error.c_str());
        return 1;
    }
    const double peak = peakBytes();
    std::printf(
        "%-22s %7.0f MB  load %6.2f s  assembly %6.2f s  picture %6.2f s  total %6.2f s "
        "(target %4.1f s, %s)\n"
        "%-22s peak memory after load %.2f GB, assembly %.2f GB, picture %.2f GB = %.1f x file "
        "(target 5.0 x, %s)\n",
        plan.filename().c_str(), fileBytes / 1e6, load, assembly, picture, total, targetSeconds,
        total <= targetSeconds ? "met" : "missed", "", loadPeak / 1e9, assemblyPeak / 1e9,
        peak / 1e9, peak / fileBytes, peak <= 5 * fileBytes ? "met" : "missed");
    std::fflush(stdout);
    return 0;
}

bool runInChild(const fs::path& plan, double targetSeconds) {
    std::fflush(stdout);
    const pid_t pid = fork();
    if (pid < 0) return false;
    if (pid == 0) _exit(openToFirstPicture(plan, targetSeconds));
    int status = 0;
    waitpid(pid, &status, 0);
    return WIFEXITED(status) && WEXITSTATUS(status) == 0;
}

}  // namespace

int main(int argc, char** argv) {
    bool small = false;
    fs::path keep;
    std::vector<fs::path> plans;
    for (int i = 1; i < argc; ++i) {
        if (std::strcmp(argv[i], "--small") == 0)
            small = true;
        else if (std::strcmp(argv[i], "--keep") == 0 && i + 1 < argc)
            keep = argv[++i];
        else
            plans.emplace_back(argv[i]);
    }
    const bool generate = plans.empty();
    fs::path folder = keep.empty() ? fs::temp_directory_path() /
                                         ("vistrel-open-bench-" + std::to_string(getpid()))
                                   : keep;
    if (generate) {
        fs::create_directories(folder);
        for (int megabytes : {100, 1000}) {
            if (small && megabytes > 100) break;
            fs::path plan = folder / ("plan-" + std::to_string(megabytes) + "MB.dxf");
            if (!fs::exists(plan)) tools::writeDXFPlan(plan, uint64_t(megabytes) * 1000000);
            plans.push_back(plan);
        }
    }
    bool ok = true;
    for (const fs::path& plan : plans) {
        // The 1 GB target for anything of half a gigabyte or more, the 100 MB one below.
        const double target = fs::file_size(plan) >= 500000000 ? 20.0 : 2.5;
        ok = runInChild(plan, target) && ok;
    }
    if (generate && keep.empty()) fs::remove_all(folder);
    return ok ? 0 : 1;
}

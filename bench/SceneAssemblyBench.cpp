// Scene assembly at scale: a generated model of ~10 million triangles in 20,000 placements of a
// few hundred definitions, flattened and merged into world-space chunks. Prints seconds,
// triangles per second and memory against the size of the merged vertex data.
#include <chrono>
#include <cstdio>
#include <cstring>
#include <fstream>
#include <string>

#include "GeneratedModel.h"
#include "scene/ViewportScene.h"

using namespace vistrel;
using namespace vistrel::viewport;

namespace {

long statusKiB(const char* field) {
    std::ifstream in("/proc/self/status");
    std::string line;
    while (std::getline(in, line))
        if (line.rfind(field, 0) == 0) return std::stol(line.substr(std::strlen(field)));
    return 0;
}

}  // namespace

int main(int argc, char** argv) {
    const int groups = argc > 1 ? std::atoi(argv[1]) : 200;
    SKPModel model = bench::generateModel(300, groups, 100);
    const long rssBefore = statusKiB("VmRSS:");
    auto t0 = std::chrono::steady_clock::now();
    ViewportScene scene(std::move(model));
    double seconds = std::chrono::duration<double>(std::chrono::steady_clock::now() - t0).count();
    const long rssAfter = statusKiB("VmRSS:");
    const long peak = statusKiB("VmHWM:");

    double triangles = 0, vertices = 0, segments = 0, bytes = 0;
    for (auto& f : scene.faceNodes()) {
        const Geometry& g = *f.node->geometry;
        triangles += double(g.primitiveCount());
        vertices += double(g.vertexCount());
        bytes += double(g.vertexCount()) * 24 + double(g.indices.size()) * 4;
    }
    for (auto& e : scene.edgeNodes()) {
        segments += double(e->geometry->primitiveCount());
        bytes += double(e->geometry->vertexCount()) * 12;
    }
    const double merged = bytes / 1048576.0;
    std::printf(
        "scene assembly: %zu placements, %zu layer sets, %zu face chunks, %zu edge chunks\n",
        scene.placements().size(), scene.layerSets().size(), scene.faceNodes().size(),
        scene.edgeNodes().size());
    std::printf("  %.2f M triangles, %.2f M vertices, %.2f M segments in %.3f s\n", triangles / 1e6,
                vertices / 1e6, segments / 1e6, seconds);
    std::printf("  throughput: %.2f M triangles/s\n", triangles / seconds / 1e6);
    std::printf(
        "  merged vertex data: %.0f MB; memory growth after build: %.0f MB (%.2f copies); "
        "peak above model: %.0f MB (%.2f copies)\n",
        merged, double(rssAfter - rssBefore) / 1024, double(rssAfter - rssBefore) / 1024 / merged,
        double(peak - rssBefore) / 1024, double(peak - rssBefore) / 1024 / merged);
    std::printf("  peak memory per triangle (above the model): %.1f bytes\n",
                double(peak - rssBefore) * 1024 / triangles);
    return 0;
}

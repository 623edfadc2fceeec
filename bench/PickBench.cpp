// Layer picking on a large model: the pick runs on every mouse move with hover active, so its
// median must stay well under a millisecond. Prints the time to build the face hierarchies and
// the median and 99th percentile of picks along random rays through the model.
#include <algorithm>
#include <chrono>
#include <cmath>
#include <cstdio>
#include <random>
#include <vector>

#include "GeneratedModel.h"
#include "scene/ViewportScene.h"

using namespace vistrel;
using namespace vistrel::viewport;
using Steady = std::chrono::steady_clock;

int main(int argc, char** argv) {
    const int groups = argc > 1 ? std::atoi(argv[1]) : 100;  // 100 x 100 x 512 = 5.1 M triangles
    ViewportScene scene(bench::generateModel(300, groups, 100));
    double triangles = 0;
    for (auto& f : scene.faceNodes()) triangles += double(f.node->geometry->primitiveCount());

    auto t0 = Steady::now();
    scene.preparePicking();
    const double buildSeconds = std::chrono::duration<double>(Steady::now() - t0).count();

    const auto b = scene.visibleBounds();
    const Float3 centre = (b.min + b.max) * 0.5f;
    const float diagonal = length(b.max - b.min);
    std::mt19937 rng(7);
    std::uniform_real_distribution<float> u(0, 1);
    std::vector<double> times, faceTimes;
    int hits = 0;
    const int picks = 2000;
    for (int i = 0; i < picks; ++i) {
        // An eye above the model, aimed at a random point of it, as a perspective view would.
        Float3 eye = centre + Float3{(u(rng) - 0.5f) * diagonal, (u(rng) - 0.5f) * diagonal,
                                     diagonal * 0.4f};
        Float3 target{b.min.x + u(rng) * (b.max.x - b.min.x),
                      b.min.y + u(rng) * (b.max.y - b.min.y), b.min.z};
        Float3 dir = normalize(target - eye);
        Float3 right = normalize(cross(dir, {0, 0, 1}));
        Float3 up = cross(right, dir);
        auto s = Steady::now();
        auto layer = scene.pickLayer(eye, dir, right, up, diagonal * 4, std::nullopt,
                                     std::tan(0.3f), 820, 4);
        times.push_back(std::chrono::duration<double, std::milli>(Steady::now() - s).count());
        hits += layer.has_value();
        auto f0 = Steady::now();
        (void)scene.hitFaces(eye, dir, diagonal * 4);
        faceTimes.push_back(std::chrono::duration<double, std::milli>(Steady::now() - f0).count());
    }
    std::sort(times.begin(), times.end());
    std::sort(faceTimes.begin(), faceTimes.end());
    std::printf("pick: %.2f M triangles in %zu face chunks, %zu edge chunks\n", triangles / 1e6,
                scene.faceNodes().size(), scene.edgeNodes().size());
    std::printf("  hierarchy build: %.3f s (%.1f M triangles/s)\n", buildSeconds,
                triangles / buildSeconds / 1e6);
    std::printf("  %d picks, %d hits: median %.3f ms, p99 %.3f ms, max %.3f ms\n", picks, hits,
                times[times.size() / 2], times[times.size() * 99 / 100], times.back());
    std::printf("  of which the face pass: median %.3f ms, p99 %.3f ms\n",
                faceTimes[faceTimes.size() / 2], faceTimes[faceTimes.size() * 99 / 100]);
    return 0;
}

// Ticks per second of the camera rig driven headless: glides, inertia and key flight together,
// as a busy navigation session would keep them.
#include <benchmark/benchmark.h>

#include "ManualClock.h"
#include "ManualTimer.h"
#include "camera/CameraRig.h"

using namespace vistrel;
using namespace vistrel::viewport;

namespace {

void cameraRigTicks(benchmark::State& state) {
    CameraNode node;
    node.camera = CameraSettings{};
    test::ManualTimer timer;
    test::ManualClock clock;
    CameraRig rig{node, timer, clock, [] { return 120.0; }};
    long changes = 0;
    rig.onChange = [&changes] { ++changes; };
    rig.keys.insert(13);  // W held throughout
    rig.keys.insert(2);   // and D
    double time = 0;
    int round = 0;
    for (auto _ : state) {
        if (!rig.glide()) {
            const float r = float(++round % 100);
            rig.beginGlide(CameraRig::Pose{{r, -r, 3}, r * 0.1f, -0.4f, 8}, 1, 2,
                           CameraRig::defaultGlideDuration);
            rig.orbit(0.02f, 0.01f, time);
            rig.orbit(0.03f, -0.01f, time + 0.01);
            rig.startTicking();
            time += 1;
        }
        clock.advance(1.0 / 120);
        timer.fire();
    }
    benchmark::DoNotOptimize(changes);
    state.counters["ticks_per_second"] =
        benchmark::Counter(double(state.iterations()), benchmark::Counter::kIsRate);
}
BENCHMARK(cameraRigTicks);

}  // namespace

BENCHMARK_MAIN();

// Conversion speed of the SKP reader's Converter, fed by the stand-in SketchUp library: a row of
// triangles (the per-face path: mesh helper, scratch buffers, batch lookup, append) and a cloud
// of guide points (the thinning path). The stand-in's own scene building stays outside the loop.
#include <benchmark/benchmark.h>

#include <fstream>
#include <nlohmann/json.hpp>

#include "sketchup/SKPConverter.h"
#include "sketchup/SketchUpAPI.h"

using namespace vistrel;
namespace fs = std::filesystem;

namespace {

const SketchUpAPI::Functions& standIn() {
    static const SketchUpAPI::Functions f = SketchUpAPI::loadFunctions(
        {fs::path(VISTREL_STANDIN_DIR) / "full/SketchUpAPI.framework", std::nullopt, false});
    return f;
}

// Opens a scene once; the handle lives for the whole benchmark.
SUHandle open(const nlohmann::json& scene, const std::string& name) {
    fs::path file = fs::temp_directory_path() / ("vistrel-bench-" + name + ".json");
    std::ofstream(file) << scene.dump();
    SUHandle model = nullptr;
    int32_t status = 0;
    standIn().SUModelCreateFromFileWithStatus(&model, file.c_str(), &status);
    fs::remove(file);
    return model;
}

// Opens the scene once, converts it in the loop, releases it; the stand-in holds one model at a
// time, as the real library is used.
void convert(benchmark::State& state, const nlohmann::json& scene, const std::string& name) {
    SUHandle model = open(scene, name);
    if (!model) {
        state.SkipWithError("the stand-in did not open the scene");
        return;
    }
    int64_t faces = 0, edges = 0;
    for (auto _ : state) {
        SKPReader::Converter converter(standIn(), {}, {});
        SKPModel m = converter.convertModel(model, {}, 0, std::chrono::steady_clock::now());
        faces = m.stats.faces;
        edges = m.stats.edges;
        benchmark::DoNotOptimize(m.root.meshes.data());
    }
    standIn().SUModelRelease(&model);
    state.counters["faces/s"] = benchmark::Counter(static_cast<double>(faces),
                                                   benchmark::Counter::kIsIterationInvariantRate);
    state.counters["faces"] = static_cast<double>(faces);
    state.counters["edges"] = static_cast<double>(edges);
}

void BM_ConvertFaceRow(benchmark::State& state) {
    convert(state, {{"entities", {{"faceRow", state.range(0)}}}}, "faces");
}
BENCHMARK(BM_ConvertFaceRow)->Arg(100000)->Unit(benchmark::kMillisecond);

void BM_ConvertGuidePointCloud(benchmark::State& state) {
    convert(state, {{"entities", {{"guidePointCloud", state.range(0)}}}}, "guides");
}
BENCHMARK(BM_ConvertGuidePointCloud)->Arg(130000)->Unit(benchmark::kMillisecond);

}  // namespace

BENCHMARK_MAIN();

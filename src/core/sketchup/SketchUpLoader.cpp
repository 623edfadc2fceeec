// SKPReader's SketchUp half: drives the closed library through SketchUpAPI's table.
#include "model/SKPError.h"
#include "settings/Localization.h"
#include "sketchup/SKPConverter.h"
#include "sketchup/SKPReader.h"
#include "sketchup/SketchUpAPI.h"

namespace vistrel::SKPReader {

namespace {

// Releases the library model on every way out of a load.
struct ModelGuard {
    const SketchUpAPI::Functions& f;
    SUHandle model = nullptr;
    ~ModelGuard() {
        if (model) f.SUModelRelease(&model);
    }
};

}  // namespace

void Box::add(const Box& other, const Float4x4& transform) {
    if (other.isEmpty()) return;
    for (int corner = 0; corner < 8; ++corner) {
        Float3 p{corner & 1 ? other.max.x : other.min.x, corner & 2 ? other.max.y : other.min.y,
                 corner & 4 ? other.max.z : other.min.z};
        add(transform.transformPoint(p));
    }
}

Float4x4 transform(const std::array<double, 16>& values) {
    std::array<double, 16> v = values;
    const double w = v[15];
    if (w != 1.0 && w != 0.0)
        for (double& x : v) x /= w;
    Float4x4 m;
    for (int i = 0; i < 12; ++i) m.m[i] = static_cast<float>(v[i]);
    m.m[12] = static_cast<float>(v[12] * 0.0254);
    m.m[13] = static_cast<float>(v[13] * 0.0254);
    m.m[14] = static_cast<float>(v[14] * 0.0254);
    m.m[15] = 1.0f;
    return m;
}

SKPModel loadSkpFile(const std::filesystem::path& url, const SKPFileInfo& fileInfo,
                     const ProgressCallback& progress, const CancelCheck& isCancelled) {
    const SketchUpAPI::Functions& f = SketchUpAPI::functions();
    std::lock_guard guard(lock());
    f.SUInitialize();
    if (progress) progress({L("Lecture du fichier", "Reading file"), 0, 0.08});
    const auto start = std::chrono::steady_clock::now();

    ModelGuard model{f};
    int32_t loadStatus = 0;
    if (SUResult r = f.SUModelCreateFromFileWithStatus(&model.model, url.c_str(), &loadStatus);
        r != 0) {
        model.model = nullptr;
        if (r == SketchUpAPI::kSerializationError || r == SketchUpAPI::kModelInvalidError ||
            r == SketchUpAPI::kModelVersionError)
            throw SKPError::unreadable(url);
        throw SKPError::api("SUModelCreateFromFileWithStatus", r);
    }
    if (isCancelled && isCancelled()) throw SKPError::cancelled();

    Converter converter(f, progress, isCancelled);
    try {
        return converter.convertModel(model.model, fileInfo, loadStatus, start);
    } catch (...) {
        converter.removeTextures();
        throw;
    }
}

}  // namespace vistrel::SKPReader

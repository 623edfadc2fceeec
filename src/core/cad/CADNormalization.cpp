#include "cad/CADNormalization.h"

#include <algorithm>
#include <cmath>

namespace vistrel {

namespace {

template <typename F>
void forEachPosition(Definition& d, F&& f) {
    for (Mesh& m : d.meshes)
        for (Float3& p : m.positions) f(p);
    for (EdgeSet& e : d.edges)
        for (Float3& p : e.positions) f(p);
}

void scaleCamera(Camera& c, float factor) {
    c.position *= factor;
    c.target *= factor;
    c.orthoHeight *= factor;
}

}  // namespace

SKPModel normalizeCADModel(SKPModel model) {
    Float3 s = model.size();
    float longest = std::max({s.x, s.y, s.z});
    if (longest > 5000)
        model = scaleModel(std::move(model), 0.001f);
    else if (longest > 0 && longest < 0.05f)
        model = scaleModel(std::move(model), 1000);

    s = model.size();
    Float3 c = model.center();
    float extent = std::max({s.x, s.y, 1.0f});
    float threshold = 2 * extent >= 200 ? 2 * extent : 200;
    if (std::hypot(c.x, c.y) > threshold) model = translateRoot(std::move(model), {-c.x, -c.y, 0});

    if (model.scenes.size() == 1 && model.scenes[0].name == "*Active") model.scenes.clear();

    if (model.isPlanar2D() && model.boundsMax.z - model.boundsMin.z > extent * 0.25f)
        model = flattenOutlierZIn2DPlan(std::move(model), extent * 0.1f);
    return model;
}

SKPModel scaleModel(SKPModel model, float factor) {
    auto scale = [factor](Definition& d) {
        forEachPosition(d, [factor](Float3& p) { p *= factor; });
        for (Instance& i : d.children)
            for (int k = 12; k < 15; ++k) i.transform.m[size_t(k)] *= factor;
    };
    scale(model.root);
    for (Definition& d : model.definitions) scale(d);
    model.boundsMin *= factor;
    model.boundsMax *= factor;
    if (model.camera) scaleCamera(*model.camera, factor);
    for (Scene& scene : model.scenes)
        if (scene.camera) scaleCamera(*scene.camera, factor);
    return model;
}

SKPModel translateRoot(SKPModel model, Float3 offset) {
    forEachPosition(model.root, [offset](Float3& p) { p += offset; });
    for (Instance& i : model.root.children) {
        i.transform.m[12] += offset.x;
        i.transform.m[13] += offset.y;
        i.transform.m[14] += offset.z;
    }
    model.boundsMin += offset;
    model.boundsMax += offset;
    return model;
}

SKPModel flattenOutlierZIn2DPlan(SKPModel model, float maxAbsZ) {
    auto flatten = [maxAbsZ](Float3& p) {
        if (std::fabs(p.z) > maxAbsZ) p.z = 0;
    };
    forEachPosition(model.root, flatten);
    for (Definition& d : model.definitions) forEachPosition(d, flatten);
    model.boundsMin.z = std::clamp(model.boundsMin.z, -maxAbsZ, maxAbsZ);
    model.boundsMax.z = std::clamp(model.boundsMax.z, -maxAbsZ, maxAbsZ);
    return model;
}

}  // namespace vistrel

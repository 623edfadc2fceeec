#include "ModelSummary.h"

#include <algorithm>

namespace vistrel::inspect {

namespace {

nlohmann::json optionalText(const std::optional<std::string>& s) {
    return s ? nlohmann::json(*s) : nlohmann::json(nullptr);
}

nlohmann::json vec(Float3 v) {
    return nlohmann::json::array({v.x, v.y, v.z});
}

}  // namespace

nlohmann::json headerSummary(const SKPFileInfo& info) {
    return {{"path", info.url.string()},
            {"fileSize", info.fileSize},
            {"version", optionalText(info.version)},
            {"versionLabel", optionalText(info.versionLabel)},
            {"hasThumbnail", info.thumbnailPNG.has_value()}};
}

nlohmann::json modelSummary(const SKPModel& model, double loadSeconds) {
    nlohmann::json j = headerSummary(model.fileInfo);
    const Stats& s = model.stats;
    j["stats"] = {{"faces", s.faces},
                  {"triangles", s.triangles},
                  {"edges", s.edges},
                  {"instances", s.instances},
                  {"definitions", s.definitions}};
    j["layers"] = model.layers.size();
    j["hiddenLayers"] = std::count_if(model.layers.begin(), model.layers.end(),
                                      [](const Layer& l) { return !l.isVisible; });
    j["definitions"] = model.definitions.size();
    nlohmann::json scenes = nlohmann::json::array();
    for (const Scene& scene : model.scenes) scenes.push_back(scene.name);
    j["scenes"] = scenes;
    j["bounds"] = {
        {"min", vec(model.boundsMin)}, {"max", vec(model.boundsMax)}, {"size", vec(model.size())}};
    j["isPlanar2D"] = model.isPlanar2D();
    j["loadSeconds"] = loadSeconds;
    if (model.loadWarning) j["warning"] = *model.loadWarning;
    return j;
}

nlohmann::json failureSummary(const SKPFileInfo& info, const std::string& message) {
    nlohmann::json j = headerSummary(info);
    j["error"] = message;
    return j;
}

}  // namespace vistrel::inspect

#include "cad/DWGImporterPlugin.h"

#include <algorithm>
#include <cstdlib>
#include <memory>

#include "cad/CADNormalization.h"
#include "cad/LoadedPlugin.h"
#include "model/SKPError.h"
#include "model/UUIDText.h"
#include "settings/Localization.h"

namespace fs = std::filesystem;

namespace vistrel::DWGImporterPlugin {

namespace {

constexpr int kImportUnitsAuto = 0;
constexpr int kImportUnitsMetres = 7;

float largestSide(const SKPModel& model) {
    Float3 s = model.size();
    return std::max({s.x, s.y, s.z});
}

// Removes the temporary .skp on every way out; a failure of the removal is swallowed.
struct TemporaryOutput {
    fs::path path = temporaryFolder() / ("Vistrel-CAD-" + makeUUIDText() + ".skp");
    static fs::path temporaryFolder() {
        std::error_code ec;
        fs::path folder = fs::temp_directory_path(ec);
        return ec ? fs::path("/tmp") : folder;
    }
    ~TemporaryOutput() {
        std::error_code ec;
        fs::remove(path, ec);
    }
};

SKPModel runConversion(const fs::path& url, const SKPFileInfo& fileInfo, PluginConverter& converter,
                       int importUnits, const fs::path& output,
                       const SKPReader::CancelCheck& isCancelled) {
    std::lock_guard guard(pluginLock());
    converter.convertFile(url, output, importUnits);
    std::error_code ec;
    if (!fs::exists(output, ec)) throw SKPError::unreadable(url);
    return SKPReader::loadSkpFile(output, fileInfo, {}, isCancelled);
}

}  // namespace

std::vector<PluginLocation> pluginCandidates(const SketchUpAPI::SearchRoots& roots) {
    std::vector<PluginLocation> result;
    result.push_back({roots.ownLibraryDir / "DWGImporter.plugin/DWGImporter", roots.ownLibraryDir});
    if (std::getenv("VISTREL_BUNDLED_SDK_ONLY")) return result;
    for (const auto& app : SketchUpAPI::sketchUpApplications(roots))
        result.push_back(
            {app.first / "Contents/PlugIns/DWGImporter.plugin/Contents/MacOS/DWGImporter",
             app.first / "Contents/Frameworks"});
    return result;
}

std::optional<PluginLocation> locatePlugin(const SketchUpAPI::SearchRoots& roots) {
    for (const PluginLocation& location : pluginCandidates(roots)) {
        std::error_code ec;
        if (fs::exists(location.binaryURL, ec)) return location;
    }
    return std::nullopt;
}

std::vector<fs::path> searchedLocations() {
    std::vector<fs::path> urls;
    for (const PluginLocation& location : pluginCandidates()) urls.push_back(location.binaryURL);
    return urls;
}

std::mutex& pluginLock() {
    static std::mutex m;
    return m;
}

PluginConverter& getPlugin(const PluginLocation& location) {
    static std::unique_ptr<LoadedPlugin> plugin;
    std::lock_guard guard(pluginLock());
    if (!plugin)
        plugin = std::make_unique<LoadedPlugin>(location.binaryURL, location.frameworksDir);
    return *plugin;
}

bool needsMetricRerun(float largestSide) {
    return largestSide > 0 && largestSide < 1.0f;
}

std::optional<float> rerunScale(float largestSide) {
    if (largestSide > 3500) return 0.001f;
    if (largestSide > 350) return 0.1f;
    return std::nullopt;
}

SKPModel loadViaPlugin(const fs::path& url, const SKPFileInfo& fileInfo,
                       const PluginLocation& location, const SKPReader::ProgressCallback& progress,
                       const SKPReader::CancelCheck& isCancelled) {
    return loadViaPlugin(url, fileInfo, getPlugin(location), progress, isCancelled);
}

SKPModel loadViaPlugin(const fs::path& url, const SKPFileInfo& fileInfo, PluginConverter& converter,
                       const SKPReader::ProgressCallback& progress,
                       const SKPReader::CancelCheck& isCancelled) {
    std::optional<SKPModel> model;
    {
        TemporaryOutput first;
        model = runConversion(url, fileInfo, converter, kImportUnitsAuto, first.path, isCancelled);
    }
    if (needsMetricRerun(largestSide(*model))) {
        // The first result is dropped; so are its exported textures.
        if (model->textureDirectory) {
            std::error_code ec;
            fs::remove_all(*model->textureDirectory, ec);
        }
        TemporaryOutput second;
        model =
            runConversion(url, fileInfo, converter, kImportUnitsMetres, second.path, isCancelled);
        if (auto factor = rerunScale(largestSide(*model))) model = scaleModel(*model, *factor);
    }
    if (progress)
        progress({L("Calibrage des unités…", "Calibrating units…"), model->stats.faces, 0.9});
    return std::move(*model);
}

}  // namespace vistrel::DWGImporterPlugin

#include "cad/LoadedPlugin.h"

#include <dlfcn.h>

#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <memory>
#include <string>
#include <vector>

#include "model/SKPError.h"

namespace fs = std::filesystem;

namespace vistrel {

namespace {

const char* const kPreloadOrder[] = {
    "liblibcrypto.dylib",       "libTD_Alloc.dylib",
    "libTD_Root.dylib",         "libTD_SpatialIndex.dylib",
    "libTD_DbRoot.dylib",       "libTD_BrepBuilder.dylib",
    "libTD_AcisBuilder.dylib",  "libTD_BrepBuilderFiller.dylib",
    "libTD_BrepRenderer.dylib", "libOdBrepModeler.dylib",
    "libTD_DbCore.dylib",       "TD_DbEntities.tx",
    "AcMPolygonObj15.tx",       "RecomputeDimBlock.tx",
    "ModelerGeometry.tx",       "RasterProcessor.tx",
    "DbCryptModule.tx",
};

const char* const kCtor = "_ZN8sketchup3dwg11CDDImporterC1Ev";
const char* const kDtor = "_ZN8sketchup3dwg11CDDImporterD1Ev";
const char* const kPrefsCtor = "_ZN8sketchup3dwg22DWGImporterPreferences11ImportPrefsC1Ev";
// CDDImporter::Convert(std::__1::string const&, std::__1::string const&,
//                      SketchUpPluginProgressCallback*, ImportPrefs const&)
const char* const kConvert =
    "_ZN8sketchup3dwg11CDDImporter7ConvertERKNSt3__112basic_stringIcNS2_11char_traitsIcEENS2_"
    "9allocatorIcEEEESA_P30SketchUpPluginProgressCallbackRKNS0_22DWGImporterPreferences11Import"
    "PrefsE";

// A libc++ std::string in its long form, laid out by hand: capacity word with the "long" bit
// (the lowest) set, size, data pointer. The callee only reads it through a const reference.
class LibcxxString {
  public:
    explicit LibcxxString(const std::string& text) : storage_((text.size() + 1 + 15) / 16 * 16) {
        std::memcpy(storage_.data(), text.c_str(), text.size() + 1);
        words_[0] = static_cast<uint64_t>(storage_.size()) | 1u;
        words_[1] = text.size();
        words_[2] = reinterpret_cast<uint64_t>(storage_.data());
    }
    const void* image() const { return words_; }

  private:
    std::vector<char> storage_;
    alignas(16) uint64_t words_[3];
};

struct FreeDeleter {
    void operator()(void* p) const { std::free(p); }
};

std::unique_ptr<void, FreeDeleter> zeroedBlock(size_t bytes) {
    void* p = std::aligned_alloc(16, bytes);
    if (!p) throw std::bad_alloc();
    std::memset(p, 0, bytes);
    return std::unique_ptr<void, FreeDeleter>(p);
}

}  // namespace

void LoadedPlugin::preloadFrameworks(const fs::path& folder) {
    for (const char* name : kPreloadOrder) {
        std::error_code ec;
        fs::path file = folder / name;
        if (fs::exists(file, ec)) dlopen(file.c_str(), RTLD_LAZY | RTLD_GLOBAL);
    }
}

LoadedPlugin::LoadedPlugin(const fs::path& binaryURL, const fs::path& frameworksDir) {
    preloadFrameworks(frameworksDir);
    void* handle = dlopen(binaryURL.c_str(), RTLD_LAZY | RTLD_LOCAL);
    if (!handle) {
        const char* why = dlerror();
        throw SKPError::api(std::string("dlopen(DWGImporter): ") + (why ? why : ""), -1);
    }
    ctor = reinterpret_cast<Thunk>(dlsym(handle, kCtor));
    dtor = reinterpret_cast<Thunk>(dlsym(handle, kDtor));
    prefsCtor = reinterpret_cast<Thunk>(dlsym(handle, kPrefsCtor));
    convert = reinterpret_cast<Convert>(dlsym(handle, kConvert));
    if (!ctor || !dtor || !prefsCtor || !convert) throw SKPError::api("dlsym(CDDImporter)", -1);
}

bool LoadedPlugin::convertFile(const fs::path& inputPath, const fs::path& outputPath,
                               int importUnits) {
    auto importer = zeroedBlock(kImporterBytes);
    auto prefs = zeroedBlock(kPrefsBytes);
    ctor(importer.get());
    prefsCtor(prefs.get());
    const int32_t units = importUnits;
    std::memcpy(static_cast<char*>(prefs.get()) + kImportUnitsOffset, &units, sizeof units);
    LibcxxString input(inputPath.string());
    LibcxxString output(outputPath.string());
    bool ok = convert(importer.get(), input.image(), output.image(), nullptr, prefs.get());
    dtor(importer.get());
    return ok;
}

}  // namespace vistrel

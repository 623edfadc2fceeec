// The closed DWG importer plug-in, opened once for the life of the process.
//
// Its C++ entry points are called by their mangled names from outside any C++ type system: the
// importer object and its preferences are raw memory, each path an image of a libc++
// std::string. Not re-entrant: callers serialise every use under DWGImporterPlugin's lock.
#pragma once

#include <filesystem>

#include "cad/PluginConverter.h"

namespace vistrel {

class LoadedPlugin : public PluginConverter {
  public:
    // Preloads the libraries of `frameworksDir`, opens `binaryURL` and looks up the four
    // symbols. Throws SKPError::api("dlopen(DWGImporter): …", -1) when the binary does not
    // open, SKPError::api("dlsym(CDDImporter)", -1) when a symbol is missing.
    LoadedPlugin(const std::filesystem::path& binaryURL,
                 const std::filesystem::path& frameworksDir);

    // Opens, in a fixed order, those of the importer's libraries present in `folder`, lazily
    // and globally; failures are ignored.
    static void preloadFrameworks(const std::filesystem::path& folder);

    bool convertFile(const std::filesystem::path& inputPath,
                     const std::filesystem::path& outputPath, int importUnits) override;

    // Where the preferences image holds importUnits, and the sizes assumed for the two objects.
    static constexpr size_t kImporterBytes = 4096;
    static constexpr size_t kPrefsBytes = 1024;
    static constexpr size_t kImportUnitsOffset = 8;

  private:
    using Thunk = void (*)(void*);
    using Convert = bool (*)(void* importer, const void* input, const void* output, void* progress,
                             const void* prefs);
    Thunk ctor = nullptr;
    Thunk dtor = nullptr;
    Thunk prefsCtor = nullptr;
    Convert convert = nullptr;
};

}  // namespace vistrel

// The seam behind which a CAD file becomes a temporary .skp: the closed importer plug-in in
// production (LoadedPlugin), a stand-in in tests.
#pragma once

#include <filesystem>

namespace vistrel {

class PluginConverter {
  public:
    virtual ~PluginConverter() = default;
    // Converts `inputPath` into a .skp at `outputPath`. importUnits 0 lets the importer choose,
    // 7 asks for metres. Returns what the converter reports; callers judge success by the
    // output file existing. Must not throw for bad input.
    virtual bool convertFile(const std::filesystem::path& inputPath,
                             const std::filesystem::path& outputPath, int importUnits) = 0;
};

}  // namespace vistrel

// Placeholder until the SketchUp library binding lands: every .skp reports the library missing.
#include "SKPError.h"
#include "SKPReader.h"

namespace vistrel::SKPReader {

SKPModel loadSkpFile(const std::filesystem::path&, const SKPFileInfo&, const ProgressCallback&,
                     const CancelCheck&) {
    throw SKPError::sketchUpNotFound({});
}

}  // namespace vistrel::SKPReader

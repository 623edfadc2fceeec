#include "sketchup/SKPReader.h"

#include "cad/CADReader.h"
#include "identify/SKPFileInfo.h"

namespace vistrel::SKPReader {

bool routesToCAD(const SKPFileInfo& info) {
    const std::string ext = lowercaseExtension(info.url);
    const bool dwgHeader = info.version && info.version->starts_with("AC10") && ext != "dxf";
    return dwgHeader || ext == "dwg" || info.version == "DXF" || ext == "dxf";
}

SKPModel load(const std::filesystem::path& url, const ProgressCallback& progress,
              const CancelCheck& isCancelled) {
    SKPFileInfo info = SKPFileInfo::read(url);
    if (routesToCAD(info)) return CADReader::load(url, info, progress, isCancelled);
    return loadSkpFile(url, info, progress, isCancelled);
}

std::mutex& lock() {
    static std::mutex m;
    return m;
}

}  // namespace vistrel::SKPReader

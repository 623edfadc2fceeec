#include "cad/dwg/DWGFrontEnd.h"

#include <string>

#include "cad/dwg/DWGObjectReader.h"
#include "cad/dwg/DWGR2000Container.h"
#include "cad/dwg/DWGR2004Container.h"
#include "cad/dwg/DWGR2007Container.h"
#include "cad/dwg/DWGSections.h"
#include "cad/dwg/DWGVersion.h"
#include "identify/SKPFileInfo.h"
#include "model/SKPError.h"

namespace vistrel {

namespace {

// The six-byte code, printable, and its release for messages: "AC1009, R11/R12", "AC1018,
// R2004".
std::string releaseText(std::span<const uint8_t> bytes) {
    std::string code;
    for (size_t i = 0; i < 6 && i < bytes.size(); ++i)
        code += (bytes[i] >= 0x20 && bytes[i] < 0x7F) ? char(bytes[i]) : '?';
    const std::string label = SKPFileInfo::dwgLabel(code, false);
    static constexpr std::string_view prefix = "AutoCAD ";
    if (label.size() > prefix.size() && label != "AutoCAD DWG") {
        const std::string release = label.substr(prefix.size());
        return code + ", " + (release[0] == 'R' ? "" : "R") + release;
    }
    return code;
}

}  // namespace

DWGFrontEnd::DWGFrontEnd(std::span<const uint8_t> bytes,
                         const SKPReader::ProgressCallback& progress,
                         const SKPReader::CancelCheck& isCancelled, std::filesystem::path url)
    : bytes_(bytes), progress_(progress), isCancelled_(isCancelled), url_(std::move(url)) {}

CADDrawing DWGFrontEnd::read() {
    const std::string release = releaseText(bytes_);
    auto notRead = [&] {
        return SKPError::unreadable(url_,
                                    "Cette version de DWG (" + release + ") n'est pas encore lue",
                                    "This DWG version (" + release + ") is not read yet");
    };
    std::string_view code(reinterpret_cast<const char*>(bytes_.data()),
                          std::min<size_t>(6, bytes_.size()));
    const std::optional<DWGVersion> version = dwgVersion(code);
    if (!version) throw notRead();
    try {
        DWGSections sections;
        switch (*version) {
            case DWGVersion::r13:
            case DWGVersion::r14:
            case DWGVersion::r2000:
                sections = DWGR2000Container::read(bytes_, *version);
                break;
            case DWGVersion::r2007:
                sections = DWGR2007Container::read(bytes_);
                break;
            default:
                sections = DWGR2004Container::read(bytes_);
                break;
        }
        return DWGObjectReader(sections, progress_, isCancelled_).read();
    } catch (const DWGFormatError& e) {
        throw SKPError::unreadable(url_, "DWG " + release + " endommagé (" + e.what() + ")",
                                   "Damaged DWG " + release + " (" + e.what() + ")");
    } catch (const SKPError&) {
        throw;
    } catch (const std::exception& e) {  // out of memory on a hostile count, say
        throw SKPError::unreadable(url_, "DWG " + release + " illisible (" + e.what() + ")",
                                   "DWG " + release + " could not be read (" + e.what() + ")");
    }
}

}  // namespace vistrel

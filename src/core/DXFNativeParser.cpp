// Placeholder until the DXF reader lands.
#include "DXFNativeParser.h"

#include "SKPError.h"

namespace vistrel::DXFNativeParser {

SKPModel parse(const std::filesystem::path& url, const SKPFileInfo&,
               const SKPReader::ProgressCallback&, const SKPReader::CancelCheck&) {
    throw SKPError::unreadable(url);
}

}  // namespace vistrel::DXFNativeParser

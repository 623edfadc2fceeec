// The DWG releases the reader knows, in order, from the six-byte code that opens the file.
#pragma once

#include <optional>
#include <string_view>

namespace vistrel {

enum class DWGVersion {
    r13,    // AC1012
    r14,    // AC1014
    r2000,  // AC1015
    r2004,  // AC1018
    r2007,  // AC1021
    r2010,  // AC1024
    r2013,  // AC1027
    r2018,  // AC1032
};

inline std::optional<DWGVersion> dwgVersion(std::string_view code) {
    if (code == "AC1012") return DWGVersion::r13;
    if (code == "AC1014") return DWGVersion::r14;
    if (code == "AC1015") return DWGVersion::r2000;
    if (code == "AC1018") return DWGVersion::r2004;
    if (code == "AC1021") return DWGVersion::r2007;
    if (code == "AC1024") return DWGVersion::r2010;
    if (code == "AC1027") return DWGVersion::r2013;
    if (code == "AC1032") return DWGVersion::r2018;
    return std::nullopt;
}

}  // namespace vistrel

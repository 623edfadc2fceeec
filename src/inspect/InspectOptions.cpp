#include "InspectOptions.h"

namespace vistrel::inspect {

InspectOptions InspectOptions::parse(const std::vector<std::string>& arguments,
                                     std::string& error) {
    InspectOptions options;
    error.clear();
    bool onlyFiles = false;
    for (const std::string& a : arguments) {
        if (!onlyFiles && a == "--") {
            onlyFiles = true;
        } else if (!onlyFiles && (a == "--help" || a == "-h")) {
            options.help = true;
        } else if (!onlyFiles && a.size() > 1 && a[0] == '-') {
            error = "unknown option: " + a;
            return options;
        } else {
            options.files.emplace_back(a);
        }
    }
    if (options.files.empty() && !options.help) error = "no file given";
    return options;
}

std::string InspectOptions::usage() {
    return "usage: vistrel-inspect FILE...\n"
           "Loads each file (.skp, .dwg, .dxf) and prints a JSON summary of it.\n"
           "Exits with status 1 when a file fails to load.\n";
}

}  // namespace vistrel::inspect

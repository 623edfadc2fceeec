#include "InspectOptions.h"

namespace vistrel::inspect {

InspectOptions InspectOptions::parse(const std::vector<std::string>& arguments,
                                     std::string& error) {
    InspectOptions options;
    error.clear();
    bool onlyFiles = false;
    for (size_t i = 0; i < arguments.size(); ++i) {
        const std::string& a = arguments[i];
        if (!onlyFiles && a == "--pdf") {
            if (i + 1 >= arguments.size()) {
                error = "--pdf needs an output path";
                return options;
            }
            options.pdf = arguments[++i];
        } else if (!onlyFiles && a == "--") {
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
    if (options.pdf && options.files.size() > 1) error = "--pdf takes exactly one file";
    return options;
}

std::string InspectOptions::usage() {
    return "usage: vistrel-inspect FILE...\n"
           "       vistrel-inspect --pdf OUT.pdf FILE\n"
           "Loads each file (.skp, .dwg, .dxf) and prints a JSON summary of it.\n"
           "--pdf also writes the vector PDF of the file as the viewer first shows it.\n"
           "Exits with status 1 when a file fails to load or an output cannot be written.\n";
}

}  // namespace vistrel::inspect

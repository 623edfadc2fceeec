#include "InspectOptions.h"

#include <charconv>
#include <string_view>

namespace vistrel::inspect {

namespace {

bool parseSize(const std::string& text, int& width, int& height) {
    const size_t x = text.find('x');
    if (x == std::string::npos) return false;
    auto number = [](std::string_view s, int& out) {
        auto [end, ec] = std::from_chars(s.data(), s.data() + s.size(), out);
        return ec == std::errc() && end == s.data() + s.size() && out >= 1 && out <= 16384;
    };
    const std::string_view all(text);
    return number(all.substr(0, x), width) && number(all.substr(x + 1), height);
}

}  // namespace

InspectOptions InspectOptions::parse(const std::vector<std::string>& arguments,
                                     std::string& error) {
    InspectOptions options;
    error.clear();
    bool onlyFiles = false;
    for (size_t i = 0; i < arguments.size(); ++i) {
        const std::string& a = arguments[i];
        const bool takesValue = a == "--pdf" || a == "--png" || a == "--size" || a == "--style";
        if (!onlyFiles && takesValue) {
            if (i + 1 >= arguments.size()) {
                error = a + " needs a value";
                return options;
            }
            const std::string& value = arguments[++i];
            if (a == "--pdf") {
                options.pdf = value;
            } else if (a == "--png") {
                options.png = value;
            } else if (a == "--size") {
                if (!parseSize(value, options.width, options.height)) {
                    error = "--size wants WIDTHxHEIGHT between 1 and 16384, not " + value;
                    return options;
                }
            } else if (auto style = viewport::shadingStyleFromRaw(value)) {
                options.style = *style;
            } else {
                error = "--style is one of textured, clay, xray, wireframe, not " + value;
                return options;
            }
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
    if ((options.pdf || options.png) && options.files.size() > 1)
        error = "--pdf and --png take exactly one file";
    return options;
}

std::string InspectOptions::usage() {
    return "usage: vistrel-inspect FILE...\n"
           "       vistrel-inspect --pdf OUT.pdf FILE\n"
           "       vistrel-inspect --png OUT.png [--size WxH] [--style "
           "textured|clay|xray|wireframe] "
           "FILE\n"
           "Loads each file (.skp, .dwg, .dxf) and prints a JSON summary of it.\n"
           "--pdf also writes the vector PDF of the file as the viewer first shows it;\n"
           "--png renders that view headless (default 1380x820, textured).\n"
           "Exits with status 1 when a file fails to load or an output cannot be written.\n";
}

}  // namespace vistrel::inspect

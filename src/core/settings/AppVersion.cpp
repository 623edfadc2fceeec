#include "settings/AppVersion.h"

#include <filesystem>
#include <fstream>

#include "BuildInfo.h"

namespace vistrel {

namespace {

std::optional<std::string> clean(const std::optional<std::string>& value) {
    if (!value) return std::nullopt;
    const char* ws = " \t\n\r\v\f";
    size_t b = value->find_first_not_of(ws);
    if (b == std::string::npos) return std::nullopt;
    size_t e = value->find_last_not_of(ws);
    std::string t = value->substr(b, e - b + 1);
    if (t.empty() || t[0] == '@') return std::nullopt;
    return t;
}

// An installed application folder states its version in share/vistrel/version ("1.2.0" and a
// build number on the next line), as a bundle's Info does; an update replaces it with the folder.
std::optional<std::pair<std::string, std::string>> folderVersion() {
    std::error_code error;
    const auto program = std::filesystem::read_symlink("/proc/self/exe", error);
    if (error) return std::nullopt;
    std::ifstream in(program.parent_path().parent_path() / "share/vistrel/version");
    std::string version, build;
    if (!in || !std::getline(in, version)) return std::nullopt;
    std::getline(in, build);
    return std::pair{version, build};
}

}  // namespace

AppVersion AppVersion::resolve(const std::string& identifier,
                               const std::optional<std::string>& shortVersion,
                               const std::optional<std::string>& build) {
    if (identifier != "org.vistrel.viewer") return {"1.1.0", std::nullopt};
    auto s = clean(shortVersion);
    return {s ? *s : "1.1.0", clean(build)};
}

const AppVersion& AppVersion::current() {
    static const AppVersion v = [] {
        if (const auto stated = folderVersion())
            return resolve(buildinfo::kBundleIdentifier, stated->first, stated->second);
        return resolve(buildinfo::kBundleIdentifier, std::string(buildinfo::kShortVersion),
                       std::string(buildinfo::kBuildNumber));
    }();
    return v;
}

}  // namespace vistrel

#include "settings/AppVersion.h"

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

}  // namespace

AppVersion AppVersion::resolve(const std::string& identifier,
                               const std::optional<std::string>& shortVersion,
                               const std::optional<std::string>& build) {
    if (identifier != "org.vistrel.viewer") return {"1.1.0", std::nullopt};
    auto s = clean(shortVersion);
    return {s ? *s : "1.1.0", clean(build)};
}

const AppVersion& AppVersion::current() {
    static const AppVersion v =
        resolve(buildinfo::kBundleIdentifier, std::string(buildinfo::kShortVersion),
                std::string(buildinfo::kBuildNumber));
    return v;
}

}  // namespace vistrel

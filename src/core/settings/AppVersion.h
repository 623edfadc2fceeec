// The program's version as people see it: "1.1.0 (42)". Compiled in by the build; a build made
// under another identifier than org.vistrel.viewer reads the fallback "1.1.0" with no build.
#pragma once

#include <optional>
#include <string>

namespace vistrel {

struct AppVersion {
    std::string shortVersion;
    std::optional<std::string> build;

    // Computed once from the compiled-in identifier and the version and build number stated by
    // the application folder (share/vistrel/version beside bin/), else compiled in.
    static const AppVersion& current();
    // The rule behind current(), for any identifier and raw values. Values are trimmed; an empty
    // one or one beginning with "@" (an unexpanded placeholder) counts as absent.
    static AppVersion resolve(const std::string& identifier,
                              const std::optional<std::string>& shortVersion,
                              const std::optional<std::string>& build);

    std::string display() const {
        return build ? shortVersion + " (" + *build + ")" : shortVersion;
    }
};

}  // namespace vistrel

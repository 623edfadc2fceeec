// One release offered by a feed: what the update window shows and what the download takes.
#pragma once

#include <optional>
#include <string>

namespace vistrel {

struct ReleaseInfo {
    std::string version;  // without a leading "v"
    std::optional<int> build;
    std::string downloadURL;
    std::optional<std::string> sha256;  // lower-case hexadecimal
    std::optional<std::string> notesFR, notesEN;
    std::optional<std::string> htmlURL;

    bool operator==(const ReleaseInfo&) const = default;
};

}  // namespace vistrel

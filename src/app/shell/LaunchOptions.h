// The command line, read by hand: no option parser, nothing rejected, unknown options ignored.
// Pure functions over the argument list without argument 0, so every rule is testable.
#pragma once

#include <optional>
#include <string>
#include <vector>

namespace vistrel::app {

struct SnapshotRequest {
    std::string output;
    std::optional<std::string> input;
    std::optional<std::string> view;
    friend bool operator==(const SnapshotRequest&, const SnapshotRequest&) = default;
};

struct LaunchOptions {
    std::optional<SnapshotRequest> snapshotRequest;  // present: snapshot mode
    bool selfTestRequested = false;
    std::optional<std::string> selfTestFile;
    // --dbus-service: started by the session bus, which sends Open or Activate next, so no open
    // panel of its own.
    bool startedByBus = false;

    bool isNormal() const { return !snapshotRequest && !selfTestRequested; }

    // --snapshot outranks --self-test; output defaults to /tmp/vistrel-snapshot.png.
    static LaunchOptions parse(const std::vector<std::string>& arguments);
};

// What --version/-v or --help/-h print (version first), or nothing when neither is present.
std::optional<std::string> informationalText(const std::vector<std::string>& arguments);
std::string versionLine();
std::string helpText();

// The paths among an open-files list: "--lang" and one-dash options skip their value,
// other "--" options are ignored alone.
std::vector<std::string> filesToOpen(const std::vector<std::string>& list);

}  // namespace vistrel::app

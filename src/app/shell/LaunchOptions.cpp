#include "shell/LaunchOptions.h"

#include <algorithm>
#include <set>

#include "settings/AppVersion.h"

namespace vistrel::app {

namespace {

bool isValue(const std::vector<std::string>& a, size_t i) {
    return i < a.size() && !a[i].starts_with("-");
}

}  // namespace

LaunchOptions LaunchOptions::parse(const std::vector<std::string>& a) {
    LaunchOptions o;
    o.startedByBus = std::find(a.begin(), a.end(), "--dbus-service") != a.end();
    std::optional<std::string> view;
    if (auto it = std::find(a.begin(), a.end(), "--view"); it != a.end() && it + 1 != a.end())
        view = *(it + 1);
    if (auto it = std::find(a.begin(), a.end(), "--snapshot"); it != a.end()) {
        size_t p = size_t(it - a.begin());
        SnapshotRequest r;
        r.output = isValue(a, p + 1) ? a[p + 1] : "/tmp/vistrel-snapshot.png";
        if (isValue(a, p + 2)) r.input = a[p + 2];
        r.view = view;
        o.snapshotRequest = r;
        return o;
    }
    if (auto it = std::find(a.begin(), a.end(), "--self-test"); it != a.end()) {
        size_t p = size_t(it - a.begin());
        o.selfTestRequested = true;
        if (isValue(a, p + 1)) o.selfTestFile = a[p + 1];
    }
    return o;
}

std::string versionLine() {
    return "Vistrel " + AppVersion::current().display();
}

std::string helpText() {
    return versionLine() +
           " — Visualiseur 3D de fichiers SketchUp (.skp)\n\nUsage:\n  Vistrel [fichier.skp]\n"
           "  Vistrel --version\n  Vistrel --help\n  Vistrel --self-test [fichier.skp]\n"
           "  Vistrel --snapshot <sortie.png> [fichier.skp] "
           "[--view document|about|help|shortcuts|settings] [--lang fr|en]";
}

std::optional<std::string> informationalText(const std::vector<std::string>& arguments) {
    std::set<std::string> set(arguments.begin(), arguments.end());
    if (set.contains("--version") || set.contains("-v")) return versionLine();
    if (set.contains("--help") || set.contains("-h")) return helpText();
    return std::nullopt;
}

std::vector<std::string> filesToOpen(const std::vector<std::string>& list) {
    std::vector<std::string> files;
    bool skipNext = false;
    for (const std::string& entry : list) {
        if (skipNext) {
            skipNext = false;
        } else if (entry == "--lang") {
            skipNext = true;
        } else if (entry.starts_with("--")) {
        } else if (entry.starts_with("-")) {
            skipNext = true;
        } else {
            files.push_back(entry);
        }
    }
    return files;
}

}  // namespace vistrel::app

#include "sketchup/SketchUpAPI.h"

#include <dlfcn.h>
#include <unistd.h>

#include <algorithm>
#include <cstdlib>
#include <fstream>
#include <mutex>
#include <set>
#include <sstream>

#include "BuildInfo.h"
#include "model/SKPError.h"
#include "settings/Localization.h"

namespace fs = std::filesystem;

namespace vistrel::SketchUpAPI {

namespace {

const char* kFrameworkInApp = "Contents/Frameworks/SketchUpAPI.framework";

fs::path executableDir() {
    std::error_code ec;
    fs::path exe = fs::read_symlink("/proc/self/exe", ec);
    return ec ? fs::current_path(ec) : exe.parent_path();
}

fs::path homeDir() {
    const char* home = std::getenv("HOME");
    return home ? fs::path(home) : fs::path();
}

// Entries of a folder; one that cannot be listed counts as empty.
std::vector<fs::path> listFolder(const fs::path& folder) {
    std::vector<fs::path> entries;
    std::error_code ec;
    fs::directory_iterator it(folder, ec);
    for (; !ec && it != fs::directory_iterator(); it.increment(ec)) entries.push_back(it->path());
    return entries;
}

bool startsWithSketchUp(const fs::path& p) {
    return p.filename().string().starts_with("SketchUp");
}

bool isApp(const fs::path& p) {
    return p.extension() == ".app";
}

// "CFBundleShortVersionString" from the application's Info.plist, when it is a text.
std::optional<std::string> bundleShortVersion(const fs::path& app) {
    std::ifstream in(app / "Contents/Info.plist", std::ios::binary);
    if (!in) return std::nullopt;
    std::stringstream buffer;
    buffer << in.rdbuf();
    const std::string plist = buffer.str();
    const std::string key = "<key>CFBundleShortVersionString</key>";
    size_t k = plist.find(key);
    if (k == std::string::npos) return std::nullopt;
    size_t open = plist.find_first_not_of(" \t\r\n", k + key.size());
    if (open == std::string::npos || plist.compare(open, 8, "<string>") != 0) return std::nullopt;
    size_t start = open + 8;
    size_t end = plist.find("</string>", start);
    if (end == std::string::npos) return std::nullopt;
    return plist.substr(start, end - start);
}

std::mutex& loadLock() {
    static std::mutex m;
    return m;
}

std::optional<Functions>& cache() {
    static std::optional<Functions> table;
    return table;
}

}  // namespace

bool numericLess(const std::string& a, const std::string& b) {
    size_t i = 0, j = 0;
    auto isDigit = [](char c) { return c >= '0' && c <= '9'; };
    while (i < a.size() && j < b.size()) {
        if (isDigit(a[i]) && isDigit(b[j])) {
            size_t ie = i, je = j;
            while (ie < a.size() && isDigit(a[ie])) ++ie;
            while (je < b.size() && isDigit(b[je])) ++je;
            std::string_view da(a.data() + i, ie - i), db(b.data() + j, je - j);
            while (da.size() > 1 && da.front() == '0') da.remove_prefix(1);
            while (db.size() > 1 && db.front() == '0') db.remove_prefix(1);
            if (da.size() != db.size()) return da.size() < db.size();
            if (da != db) return da < db;
            i = ie;
            j = je;
        } else {
            if (a[i] != b[j])
                return static_cast<unsigned char>(a[i]) < static_cast<unsigned char>(b[j]);
            ++i;
            ++j;
        }
    }
    return (a.size() - i) < (b.size() - j);
}

std::optional<std::string> Location::origin() const {
    if (isBundled) return L("livré dans l'app", "shipped in the app");
    if (appVersion) return L("installé avec SketchUp ", "installed with SketchUp ") + *appVersion;
    if (frameworkURL.string().find("/Unity.app/") != std::string::npos)
        return L("livré avec Unity", "shipped with Unity");
    return std::nullopt;
}

bool isBundledApp() {
    if (std::string(buildinfo::kBundleIdentifier) != "org.vistrel.viewer") return false;
    std::error_code ec;
    return fs::is_directory(executableDir() / "../lib/vistrel", ec);
}

SearchRoots SearchRoots::system() {
    SearchRoots roots;
    roots.isBundledApp = SketchUpAPI::isBundledApp();
    roots.ownLibraryDir = (executableDir() / "../lib/vistrel").lexically_normal();
    roots.applicationFolders = {"/opt", homeDir() / "Applications"};
    roots.unityEditors = homeDir() / "Unity/Hub/Editor";
    return roots;
}

std::vector<std::pair<fs::path, std::optional<std::string>>> sketchUpApplications(
    const SearchRoots& roots) {
    std::vector<std::pair<fs::path, std::optional<std::string>>> apps;
    auto take = [&](const fs::path& app) { apps.emplace_back(app, bundleShortVersion(app)); };
    for (const fs::path& folder : roots.applicationFolders) {
        for (const fs::path& entry : listFolder(folder)) {
            if (!startsWithSketchUp(entry)) continue;
            if (isApp(entry)) {
                take(entry);
                continue;
            }
            for (const fs::path& child : listFolder(entry))
                if (startsWithSketchUp(child) && isApp(child)) take(child);
        }
    }
    std::stable_sort(apps.begin(), apps.end(), [](const auto& a, const auto& b) {
        return numericLess(b.second.value_or(""), a.second.value_or(""));
    });
    return apps;
}

std::vector<Location> candidates(const SearchRoots& roots) {
    std::vector<Location> result;
    if (const char* sdk = std::getenv("VISTREL_SKETCHUP_SDK"); sdk && !roots.isBundledApp)
        result.push_back({sdk, std::nullopt, false});
    result.push_back({roots.ownLibraryDir / "SketchUpAPI.framework", std::nullopt, true});
    if (std::getenv("VISTREL_BUNDLED_SDK_ONLY")) return result;

    for (const auto& [app, version] : sketchUpApplications(roots))
        result.push_back({app / kFrameworkInApp, version, false});

    std::vector<fs::path> editors = listFolder(roots.unityEditors);
    std::stable_sort(editors.begin(), editors.end(), [](const fs::path& a, const fs::path& b) {
        return numericLess(b.filename().string(), a.filename().string());
    });
    for (const fs::path& editor : editors)
        result.push_back({editor / "Unity.app" / kFrameworkInApp, std::nullopt, false});
    return result;
}

std::vector<fs::path> searchedURLs(const SearchRoots& roots) {
    std::vector<fs::path> urls;
    for (const Location& l : candidates(roots)) urls.push_back(l.frameworkURL);
    return urls;
}

std::optional<Location> locate(const SearchRoots& roots) {
    for (const Location& l : candidates(roots)) {
        std::error_code ec;
        if (fs::exists(l.frameworkURL / "SketchUpAPI", ec)) return l;
    }
    return std::nullopt;
}

bool isAvailable() {
    return locate().has_value();
}

std::vector<std::string> preloadSiblings(const fs::path& folder) {
    std::set<std::string> pending;
    for (const fs::path& entry : listFolder(folder)) {
        std::string name = entry.filename().string();
        if (name.starts_with("libCommon") && name.ends_with(".dylib")) pending.insert(name);
    }
    std::vector<std::string> opened;
    bool progress = true;
    while (!pending.empty() && progress) {
        progress = false;
        for (auto it = pending.begin(); it != pending.end();) {
            if (dlopen((folder / *it).c_str(), RTLD_NOW | RTLD_GLOBAL)) {
                opened.push_back(*it);
                it = pending.erase(it);
                progress = true;
            } else {
                ++it;
            }
        }
    }
    return opened;
}

Functions loadFunctions(const Location& location) {
    std::error_code ec;
    if (!fs::exists(location.frameworkURL / "Versions/A/Libraries", ec))
        preloadSiblings(location.frameworkURL.parent_path());
    const fs::path library = location.frameworkURL / "SketchUpAPI";
    void* handle = dlopen(library.c_str(), RTLD_NOW | RTLD_LOCAL);
    if (!handle) {
        const char* why = dlerror();
        throw SKPError::api(std::string("dlopen: ") + (why ? why : library.string()), -1);
    }
    Functions table;
#define VISTREL_SU_LOOKUP(name, mandatory, ret, params)                 \
    table.name = reinterpret_cast<ret(*) params>(dlsym(handle, #name)); \
    if (mandatory && !table.name) throw SKPError::api(#name, -1);
    VISTREL_SU_FUNCTIONS(VISTREL_SU_LOOKUP)
#undef VISTREL_SU_LOOKUP
    return table;
}

const Functions& functions() {
    std::lock_guard guard(loadLock());
    if (cache()) return *cache();
    std::optional<Location> location = locate();
    if (!location) throw SKPError::sketchUpNotFound(searchedURLs());
    cache() = loadFunctions(*location);
    return *cache();
}

}  // namespace vistrel::SketchUpAPI

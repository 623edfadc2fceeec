// Finds a copy of the closed SketchUp library at run time, opens it and fills the table of its
// entry points. Nothing else in the program knows where the library came from.
//
// A framework is a folder that holds a shared object named `SketchUpAPI`. Places looked at, in
// order: $VISTREL_SKETCHUP_SDK (development builds only), the application's own copy
// (<prefix>/lib/vistrel/SketchUpAPI.framework), then, unless $VISTREL_BUNDLED_SDK_ONLY is set,
// SketchUp applications ("SketchUp*.app", newest first) in /opt and ~/Applications, and last
// the Unity editors under ~/Unity/Hub/Editor, which carry the same library.
#pragma once

#include <filesystem>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "sketchup/SketchUpFunctions.h"

namespace vistrel::SketchUpAPI {

struct Location {
    std::filesystem::path frameworkURL;
    std::optional<std::string> appVersion;  // marketing version of the carrying application
    bool isBundled = false;                 // inside this very application

    // Phrase for the About window in the current language; absent when nothing is known.
    std::optional<std::string> origin() const;
    friend bool operator==(const Location&, const Location&) = default;
};

// Where candidates() looks; system() describes the running process, tests inject their own.
struct SearchRoots {
    bool isBundledApp = false;
    // The application's own closed libraries: SketchUpAPI.framework, DWGImporter.plugin.
    std::filesystem::path ownLibraryDir;
    std::vector<std::filesystem::path> applicationFolders;  // scanned for SketchUp applications
    std::filesystem::path unityEditors;                     // one folder per Unity editor version

    static SearchRoots system();
};

// True for an installed release (identifier org.vistrel.viewer and an installed layout beside
// the executable); a build tree is a development build and honours $VISTREL_SKETCHUP_SDK.
bool isBundledApp();

// SketchUp applications in roots.applicationFolders with their marketing versions (from
// Contents/Info.plist), newest first, stable among equals. Also where the importer plug-in lives.
std::vector<std::pair<std::filesystem::path, std::optional<std::string>>> sketchUpApplications(
    const SearchRoots& roots);

std::vector<Location> candidates(const SearchRoots& roots = SearchRoots::system());
std::vector<std::filesystem::path> searchedURLs(const SearchRoots& roots = SearchRoots::system());
// The first candidate whose framework holds the file `SketchUpAPI`.
std::optional<Location> locate(const SearchRoots& roots = SearchRoots::system());
bool isAvailable();

// The process-wide table, loaded on first success under loadLock and never unloaded.
// Throws SKPError: sketchUpNotFound with searchedURLs(), or api("dlopen: …", -1), or
// api(<first missing mandatory symbol>, -1). A failure caches nothing.
const Functions& functions();

// The uncached work of functions() for one location: preloads siblings when the framework has
// no Versions/A/Libraries, opens <framework>/SketchUpAPI (RTLD_NOW | RTLD_LOCAL) and looks the
// symbols up in table order. Same errors as functions() but sketchUpNotFound.
Functions loadFunctions(const Location& location);

// Opens every "libCommon*.dylib" in the folder (RTLD_NOW | RTLD_GLOBAL), pass after pass in
// name order, until a pass opens nothing. Returns the names opened, in the order opened;
// names that never open are left out silently.
std::vector<std::string> preloadSiblings(const std::filesystem::path& folder);

// Ordering of version texts by their runs of digits taken as numbers ("23.1" after "9.1").
bool numericLess(const std::string& a, const std::string& b);

}  // namespace vistrel::SketchUpAPI

// The freedesktop way of knowing which applications open a file: `.desktop` entries under the
// XDG data folders, ordered by the `mimeapps.list` files, and the entry's Exec line turned into
// a command. Reads files only; starts nothing, so the rules can be tested on folders made for
// the purpose. Malformed text is skipped, never fatal.
#pragma once

#include <filesystem>
#include <map>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace vistrel::app::DesktopEntries {

// The [Desktop Entry] group of an application entry.
struct Entry {
    std::string id;  // "org.example.Viewer.desktop": the path under applications/, '/' as '-'
    std::filesystem::path file;
    std::string name;  // the untranslated Name
    std::string exec;  // the Exec value, string escapes already undone
    std::vector<std::string> mimeTypes;
    bool hidden = false;  // Hidden=true: the entry counts as deleted
    bool noDisplay = false;
};

// Absent when the text has no [Desktop Entry] group, its Type is not Application, or it has no
// Name or Exec. A Hidden entry parses: it still masks entries of the same id further down.
std::optional<Entry> parseEntry(std::string_view text);

// What mimeapps.list files say, for each MIME type, in order of precedence.
struct Associations {
    std::map<std::string, std::vector<std::string>> defaults;  // [Default Applications]
    std::map<std::string, std::vector<std::string>> added;     // [Added Associations]
    std::map<std::string, std::vector<std::string>> removed;   // [Removed Associations]
};

// Adds one file's lists after those already in `associations`; give files most important first.
void addMimeApps(std::string_view text, Associations& associations);

// The folders of the XDG base-directory rules, most important first.
struct SearchDirs {
    std::vector<std::filesystem::path> config;  // XDG_CONFIG_HOME, then XDG_CONFIG_DIRS
    std::vector<std::filesystem::path> data;    // XDG_DATA_HOME, then XDG_DATA_DIRS
    // Lower-cased names of XDG_CURRENT_DESKTOP: their "<name>-mimeapps.list" come first.
    std::vector<std::string> desktops;

    // From the environment, with the rules' defaults for unset, empty or relative values.
    static SearchDirs fromEnvironment();
};

// The visible applications for `mimeTypes`, most specific type first. For each type in turn:
// the defaults of the mimeapps.list files, then their added associations, then every other
// entry that lists the type, by folder and then by id. Removed associations, entries that are
// not installed and Hidden or NoDisplay entries are left out; each application comes once.
// Of two entries with one id, the one in the more important folder counts.
std::vector<Entry> applicationsFor(const std::vector<std::string>& mimeTypes,
                                   const SearchDirs& dirs);

// One entry file, its id left empty; absent when unreadable or not an application.
std::optional<Entry> readEntry(const std::filesystem::path& file);

// The command line of an Exec value for one file: %f and %F give its path, %u and %U its
// file:// URL, %% a percent sign; %i, %c, %k, the deprecated and unknown codes are dropped.
// Without any file code the path is added at the end, as file managers do. Quoting follows the
// Desktop Entry rules. Empty when the value is malformed: an unterminated quote, a trailing
// backslash or percent sign, or no program.
std::vector<std::string> commandLine(std::string_view exec, const std::filesystem::path& file);

}  // namespace vistrel::app::DesktopEntries

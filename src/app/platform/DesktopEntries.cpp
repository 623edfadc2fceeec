#include "platform/DesktopEntries.h"

#include <pwd.h>
#include <unistd.h>

#include <algorithm>
#include <cctype>
#include <cstdlib>
#include <fstream>
#include <set>
#include <sstream>

namespace vistrel::app::DesktopEntries {

namespace fs = std::filesystem;

namespace {

std::string_view trimmed(std::string_view s) {
    while (!s.empty() && (s.front() == ' ' || s.front() == '\t')) s.remove_prefix(1);
    while (!s.empty() && (s.back() == ' ' || s.back() == '\t' || s.back() == '\r'))
        s.remove_suffix(1);
    return s;
}

// Calls `onPair(group, key, value)` for every key of every group, values still escaped.
template <class F>
void forEachKey(std::string_view text, F onPair) {
    std::string_view group;
    while (!text.empty()) {
        size_t end = text.find('\n');
        std::string_view line = trimmed(text.substr(0, end));
        text = end == std::string_view::npos ? std::string_view{} : text.substr(end + 1);
        if (line.empty() || line.front() == '#') continue;
        if (line.front() == '[') {
            size_t close = line.find(']');
            group =
                close == std::string_view::npos ? std::string_view{} : line.substr(1, close - 1);
            continue;
        }
        size_t eq = line.find('=');
        if (eq == std::string_view::npos) continue;
        onPair(group, trimmed(line.substr(0, eq)), trimmed(line.substr(eq + 1)));
    }
}

// The string escapes of the key-value layer; in a list "\;" stays a semicolon inside an item.
std::vector<std::string> unescaped(std::string_view value, bool isList) {
    std::vector<std::string> items;
    std::string item;
    for (size_t i = 0; i < value.size(); ++i) {
        char c = value[i];
        if (c == '\\' && i + 1 < value.size()) {
            char next = value[++i];
            switch (next) {
                case 's':
                    item += ' ';
                    break;
                case 'n':
                    item += '\n';
                    break;
                case 't':
                    item += '\t';
                    break;
                case 'r':
                    item += '\r';
                    break;
                case '\\':
                    item += '\\';
                    break;
                case ';':
                    item += ';';
                    break;
                default:
                    item += '\\';
                    item += next;
            }
        } else if (c == ';' && isList) {
            if (!item.empty()) items.push_back(std::move(item));
            item.clear();
        } else {
            item += c;
        }
    }
    if (!item.empty() || !isList) items.push_back(std::move(item));
    return items;
}

std::string readText(const fs::path& path) {
    std::ifstream in(path, std::ios::binary);
    if (!in) return {};
    std::ostringstream text;
    text << in.rdbuf();
    return text.str();
}

fs::path homeDir() {
    if (const char* home = std::getenv("HOME"); home && *home) return home;
    if (const passwd* pw = getpwuid(getuid()); pw && pw->pw_dir) return pw->pw_dir;
    return "/";
}

// One absolute folder from a variable, or the default; relative values do not count.
fs::path homeVariable(const char* name, const fs::path& fallback) {
    const char* value = std::getenv(name);
    if (value && *value && fs::path(value).is_absolute()) return value;
    return fallback;
}

std::vector<fs::path> listVariable(const char* name, std::string_view fallback) {
    const char* value = std::getenv(name);
    std::string_view list = value && *value ? std::string_view(value) : fallback;
    std::vector<fs::path> dirs;
    while (true) {
        size_t colon = list.find(':');
        fs::path dir(list.substr(0, colon));
        if (dir.is_absolute()) dirs.push_back(dir);
        if (colon == std::string_view::npos) break;
        list.remove_prefix(colon + 1);
    }
    return dirs;
}

// Every entry id under the data folders, the first folder that has an id owning it; an entry
// that does not parse still masks the id.
struct Installed {
    std::map<std::string, std::optional<Entry>> byID;
    std::vector<std::string> order;  // by folder, then by id
};

Installed installedEntries(const SearchDirs& dirs) {
    Installed installed;
    for (const fs::path& data : dirs.data) {
        fs::path root = data / "applications";
        std::error_code ec;
        std::vector<std::pair<std::string, fs::path>> found;
        for (fs::recursive_directory_iterator it(root, ec), end; !ec && it != end;
             it.increment(ec)) {
            if (it->path().extension() != ".desktop" || !it->is_regular_file(ec)) continue;
            std::string id = it->path().lexically_relative(root).string();
            std::replace(id.begin(), id.end(), '/', '-');
            found.emplace_back(std::move(id), it->path());
        }
        std::sort(found.begin(), found.end());
        for (auto& [id, file] : found) {
            if (installed.byID.contains(id)) continue;
            auto entry = parseEntry(readText(file));
            if (entry) {
                entry->id = id;
                entry->file = file;
            }
            installed.byID.emplace(id, std::move(entry));
            installed.order.push_back(id);
        }
    }
    return installed;
}

Associations associations(const SearchDirs& dirs) {
    std::vector<fs::path> files;
    auto addFolder = [&](const fs::path& folder) {
        for (const std::string& desktop : dirs.desktops)
            files.push_back(folder / (desktop + "-mimeapps.list"));
        files.push_back(folder / "mimeapps.list");
    };
    for (const fs::path& dir : dirs.config) addFolder(dir);
    for (const fs::path& dir : dirs.data) addFolder(dir / "applications");
    Associations result;
    for (const fs::path& file : files) addMimeApps(readText(file), result);
    return result;
}

const std::vector<std::string>& listFor(const std::map<std::string, std::vector<std::string>>& map,
                                        const std::string& type) {
    static const std::vector<std::string> none;
    auto it = map.find(type);
    return it == map.end() ? none : it->second;
}

std::string fileURL(const fs::path& file) {
    static const char* hex = "0123456789ABCDEF";
    std::string url = "file://";
    for (unsigned char c : file.string()) {
        bool plain = (c >= 'A' && c <= 'Z') || (c >= 'a' && c <= 'z') || (c >= '0' && c <= '9') ||
                     c == '-' || c == '.' || c == '_' || c == '~' || c == '/';
        if (plain) {
            url += char(c);
        } else {
            url += '%';
            url += hex[c >> 4];
            url += hex[c & 15];
        }
    }
    return url;
}

}  // namespace

std::optional<Entry> parseEntry(std::string_view text) {
    Entry entry;
    std::set<std::string, std::less<>> seen;
    bool hasGroup = false, isApplication = false, hasName = false, hasExec = false;
    forEachKey(text, [&](std::string_view group, std::string_view key, std::string_view value) {
        if (group != "Desktop Entry") return;
        hasGroup = true;
        // A repeated key is invalid; the first one counts.
        if (!seen.emplace(key).second) return;
        if (key == "Type") {
            isApplication = value == "Application";
        } else if (key == "Name") {
            entry.name = unescaped(value, false).front();
            hasName = true;
        } else if (key == "Exec") {
            entry.exec = unescaped(value, false).front();
            hasExec = !entry.exec.empty();
        } else if (key == "MimeType") {
            entry.mimeTypes = unescaped(value, true);
        } else if (key == "Hidden") {
            entry.hidden = value == "true";
        } else if (key == "NoDisplay") {
            entry.noDisplay = value == "true";
        }
    });
    if (!hasGroup || !isApplication) return std::nullopt;
    if (!entry.hidden && (!hasName || !hasExec)) return std::nullopt;
    return entry;
}

void addMimeApps(std::string_view text, Associations& associations) {
    forEachKey(text, [&](std::string_view group, std::string_view key, std::string_view value) {
        std::map<std::string, std::vector<std::string>>* target = nullptr;
        if (group == "Default Applications")
            target = &associations.defaults;
        else if (group == "Added Associations")
            target = &associations.added;
        else if (group == "Removed Associations")
            target = &associations.removed;
        if (!target || key.empty()) return;
        auto& ids = (*target)[std::string(key)];
        for (std::string& id : unescaped(value, true)) ids.push_back(std::move(id));
    });
}

SearchDirs SearchDirs::fromEnvironment() {
    SearchDirs dirs;
    fs::path home = homeDir();
    dirs.config.push_back(homeVariable("XDG_CONFIG_HOME", home / ".config"));
    for (fs::path& dir : listVariable("XDG_CONFIG_DIRS", "/etc/xdg")) dirs.config.push_back(dir);
    dirs.data.push_back(homeVariable("XDG_DATA_HOME", home / ".local/share"));
    for (fs::path& dir : listVariable("XDG_DATA_DIRS", "/usr/local/share/:/usr/share/"))
        dirs.data.push_back(dir);
    if (const char* desktops = std::getenv("XDG_CURRENT_DESKTOP")) {
        std::istringstream parts(desktops);
        for (std::string part; std::getline(parts, part, ':');) {
            std::transform(part.begin(), part.end(), part.begin(),
                           [](unsigned char c) { return char(std::tolower(c)); });
            if (!part.empty()) dirs.desktops.push_back(part);
        }
    }
    return dirs;
}

std::vector<Entry> applicationsFor(const std::vector<std::string>& mimeTypes,
                                   const SearchDirs& dirs) {
    Installed installed = installedEntries(dirs);
    Associations lists = associations(dirs);
    std::vector<Entry> result;
    std::set<std::string> taken;
    for (const std::string& type : mimeTypes) {
        const auto& removed = listFor(lists.removed, type);
        auto take = [&](const std::string& id) {
            if (taken.contains(id)) return;
            if (std::find(removed.begin(), removed.end(), id) != removed.end()) return;
            auto it = installed.byID.find(id);
            if (it == installed.byID.end() || !it->second) return;
            const Entry& entry = *it->second;
            if (entry.hidden || entry.noDisplay) return;
            taken.insert(id);
            result.push_back(entry);
        };
        for (const std::string& id : listFor(lists.defaults, type)) take(id);
        for (const std::string& id : listFor(lists.added, type)) take(id);
        for (const std::string& id : installed.order) {
            const auto& entry = installed.byID.at(id);
            if (entry && std::find(entry->mimeTypes.begin(), entry->mimeTypes.end(), type) !=
                             entry->mimeTypes.end())
                take(id);
        }
    }
    return result;
}

std::optional<Entry> readEntry(const fs::path& file) {
    auto entry = parseEntry(readText(file));
    if (entry) entry->file = file;
    return entry;
}

std::vector<std::string> commandLine(std::string_view exec, const fs::path& file) {
    // Split into words first: field codes are expanded in the unquoted words.
    std::vector<std::string> words;
    {
        std::string word;
        bool inWord = false, quoted = false;
        for (size_t i = 0; i < exec.size(); ++i) {
            char c = exec[i];
            if (quoted) {
                if (c == '"') {
                    quoted = false;
                } else if (c == '\\') {
                    if (++i == exec.size()) return {};
                    char next = exec[i];
                    if (next != '"' && next != '`' && next != '$' && next != '\\') word += '\\';
                    word += next;
                } else {
                    word += c;
                }
            } else if (c == ' ' || c == '\t' || c == '\n') {
                if (inWord) words.push_back(std::move(word));
                word.clear();
                inWord = false;
            } else if (c == '"') {
                quoted = inWord = true;
            } else if (c == '\\') {
                if (++i == exec.size()) return {};
                word += exec[i];
                inWord = true;
            } else {
                word += c;
                inWord = true;
            }
        }
        if (quoted) return {};
        if (inWord) words.push_back(std::move(word));
    }

    std::vector<std::string> arguments;
    bool tookFile = false;
    for (const std::string& word : words) {
        std::string expanded;
        bool droppedCode = false;
        for (size_t i = 0; i < word.size(); ++i) {
            if (word[i] != '%') {
                expanded += word[i];
                continue;
            }
            if (++i == word.size()) return {};
            switch (word[i]) {
                case 'f':
                case 'F':
                    expanded += file.string();
                    tookFile = true;
                    break;
                case 'u':
                case 'U':
                    expanded += fileURL(file);
                    tookFile = true;
                    break;
                case '%':
                    expanded += '%';
                    break;
                default:  // %i %c %k and the deprecated codes: nothing to give
                    droppedCode = true;
            }
        }
        // "%k" alone leaves no argument; a quoted "" stays an empty one.
        if (expanded.empty() && droppedCode) continue;
        arguments.push_back(std::move(expanded));
    }
    if (arguments.empty()) return {};
    if (!tookFile) arguments.push_back(file.string());
    return arguments;
}

}  // namespace vistrel::app::DesktopEntries

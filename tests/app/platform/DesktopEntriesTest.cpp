#include "platform/DesktopEntries.h"

#include <gtest/gtest.h>

#include <fstream>

#include "TestEnv.h"

namespace vistrel::test {
namespace {

namespace fs = std::filesystem;
using app::DesktopEntries::commandLine;
using app::DesktopEntries::parseEntry;
using app::DesktopEntries::SearchDirs;

void writeFile(const fs::path& path, const std::string& text) {
    fs::create_directories(path.parent_path());
    std::ofstream(path) << text;
}

std::string entryText(const std::string& name, const std::string& mimeTypes,
                      const std::string& extra = "") {
    return "[Desktop Entry]\nType=Application\nName=" + name + "\nExec=" + name +
           " %f\nMimeType=" + mimeTypes + "\n" + extra;
}

TEST(DesktopEntriesTest, execQuotingIsUndoneAndAnEntryKeepsTheUntranslatedNameOfItsGroup) {
    const fs::path file = "/tmp/Plans & coupes/r+1.dxf";
    const std::string path = file.string();
    const std::string url = "file:///tmp/Plans%20%26%20coupes/r%2B1.dxf";
    struct Case {
        std::string exec;
        std::vector<std::string> expected;
    };
    const std::vector<Case> cases{
        {"viewer %f", {"viewer", path}},
        {"viewer --new-window %U", {"viewer", "--new-window", url}},
        {"viewer %i %c %k --open=%u", {"viewer", "--open=" + url}},
        {R"("/opt/My Viewer/run" "--title=a \"b\" \\ \$HOME" %f)",
         {"/opt/My Viewer/run", R"(--title=a "b" \ $HOME)", path}},
        {"viewer --zoom=100%% %f", {"viewer", "--zoom=100%", path}},
        {"viewer \"\" %f", {"viewer", "", path}},
        {"  viewer\t%d %D %n %N %v %m", {"viewer", path}},
        {"viewer --flag", {"viewer", "--flag", path}},  // no code for the file: it goes last
        {"\"viewer %f", {}},                            // malformed: nothing to start
        {"viewer %", {}},
        {"", {}},
    };
    for (const Case& c : cases) EXPECT_EQ(commandLine(c.exec, file), c.expected) << c.exec;

    auto entry = parseEntry(
        "# comment\n[Desktop Entry]\nVersion=1.5\nType=Application\n"
        "Name[fr]=Visionneuse\nName = SketchUp\\sViewer\nName=Second Name\n"
        "Exec=viewer\\s--flag %f\nNoDisplay=true\n"
        "MimeType=application/vnd.sketchup.skp;image/vnd\\;odd;\n"
        "[Desktop Action new-window]\nName=New Window\nExec=other\n");
    ASSERT_TRUE(entry);
    EXPECT_TRUE(entry->name == "SketchUp Viewer" && entry->exec == "viewer --flag %f");
    EXPECT_EQ(entry->mimeTypes,
              (std::vector<std::string>{"application/vnd.sketchup.skp", "image/vnd;odd"}));
    EXPECT_TRUE(entry->noDisplay && !entry->hidden);
    for (const char* refused :
         {"[Desktop Entry]\nType=Link\nName=Web\nURL=https://example.org\n",
          "[Desktop Entry]\nType=Application\nName=No command\n",
          "[Desktop Action x]\nType=Application\nName=A\nExec=a\n", "not an entry\n\xff\xfe=\n["})
        EXPECT_FALSE(parseEntry(refused)) << refused;
    // A hidden entry needs nothing else: it only masks.
    EXPECT_TRUE(parseEntry("[Desktop Entry]\nType=Application\nHidden=true\n").value().hidden);
}

TEST(DesktopEntriesTest, applicationsComeInMimeappsOrderThenByFolder) {
    TempDir dir;
    const fs::path configHome = dir / "config", configDir = dir / "xdg";
    const fs::path dataHome = dir / "home-data", dataDir = dir / "share";
    const std::string dxf = "image/vnd.dxf";
    // clang-format off
    const std::pair<const char*, std::string> entries[] = {
        {"a-viewer", entryText("Zed", dxf + ";")},   {"b-viewer", entryText("B", dxf + ";")},
        {"c-viewer", entryText("C", "text/plain;")}, {"vendor/d", entryText("D", "")},
        {"e-viewer", entryText("E", dxf)},           {"masked", entryText("Masked", dxf)},
        {"removed", entryText("Removed", dxf)},      {"text", entryText("Text", "text/plain;")},
        {"nodisplay", entryText("NoDisplay", dxf, "NoDisplay=true\n")}};
    // clang-format on
    for (const auto& [id, text] : entries)
        writeFile(dataDir / "applications" / (id + std::string(".desktop")), text);
    writeFile(dataHome / "applications/a-viewer.desktop", entryText("A", dxf + ";"));
    writeFile(dataHome / "applications/masked.desktop", "[Desktop Entry]\nHidden=true\n");
    writeFile(configHome / "mimeapps.list",
              "[Default Applications]\nimage/vnd.dxf=not-installed.desktop;c-viewer.desktop;\n"
              "[Added Associations]\nimage/vnd.dxf=vendor-d.desktop;\n"
              "[Removed Associations]\nimage/vnd.dxf=removed.desktop;\n");
    writeFile(dataDir / "applications/mimeapps.list",
              "[Default Applications]\nimage/vnd.dxf=e-viewer.desktop;c-viewer.desktop\n");

    SearchDirs dirs{{configHome, configDir}, {dataHome, dataDir}, {}};
    auto names = [&] {
        std::vector<std::string> result;
        for (const auto& e : app::DesktopEntries::applicationsFor({dxf, "text/plain"}, dirs))
            result.push_back(e.name);
        return result;
    };
    // Defaults by file precedence, added, then the listing entries: the home folder's copy of
    // a-viewer first, the others by id; the parent type's own application last.
    EXPECT_EQ(names(), (std::vector<std::string>{"C", "E", "D", "A", "B", "Text"}));

    // A desktop's own list outranks the plain one of the same folder.
    writeFile(configHome / "kde-mimeapps.list",
              "[Default Applications]\nimage/vnd.dxf=b-viewer.desktop\n");
    dirs.desktops = {"kde"};
    EXPECT_EQ(names(), (std::vector<std::string>{"B", "C", "E", "D", "A", "Text"}));

    const auto first = app::DesktopEntries::applicationsFor({dxf}, dirs).at(0);
    EXPECT_EQ(first.file, dataDir / "applications/b-viewer.desktop");
}

}  // namespace
}  // namespace vistrel::test

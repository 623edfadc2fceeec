// The SketchUp library binding: where it looks, how it opens what it finds, and what a machine
// without the library reports. This suite never loads a complete library into the cache.
#include "sketchup/SketchUpAPI.h"

#include <gtest/gtest.h>

#include <fstream>

#include "ScopedLanguage.h"
#include "TestEnv.h"
#include "ThrownError.h"
#include "model/SKPError.h"
#include "settings/Localization.h"
#include "sketchup/SKPReader.h"

using namespace vistrel;
using namespace vistrel::SketchUpAPI;
namespace fs = std::filesystem;

namespace {

const fs::path kStandIns = VISTREL_STANDIN_DIR;

void makeApp(const fs::path& app, const std::optional<std::string>& version) {
    fs::create_directories(app / "Contents");
    if (!version) return;
    std::ofstream(app / "Contents/Info.plist")
        << "<plist><dict>\n<key>CFBundleName</key><string>SketchUp</string>\n"
        << "<key>CFBundleShortVersionString</key>\n\t<string>" << *version << "</string>";
}

class SketchUpAPITest : public ::testing::Test {
  protected:
    SearchRoots roots() const {
        SearchRoots r;
        r.ownLibraryDir = dir / "prefix/lib/vistrel";
        r.applicationFolders = {dir / "opt", dir / "home/Applications"};
        r.unityEditors = dir / "home/Unity/Hub/Editor";
        return r;
    }

    test::TempDir dir;
    test::ScopedLanguage english{AppLanguage::en};
    test::ScopedEnv noSdk{"VISTREL_SKETCHUP_SDK", nullptr};
    test::ScopedEnv noBundledOnly{"VISTREL_BUNDLED_SDK_ONLY", nullptr};
};

}  // namespace

// Newest first, digit runs compared as numbers: 23.1.340 is newer than 9.1, 2022.3.10f1 than
// 2022.3.9f1.
TEST_F(SketchUpAPITest, candidatesComeInPriorityOrderNewestFirst) {
    makeApp(dir / "opt/SketchUp 2021/SketchUp.app", "9.1");
    makeApp(dir / "opt/SketchUp 2023/SketchUp.app", "23.1.340");
    makeApp(dir / "opt/SketchUp Viewer.app", "23.1.2");
    makeApp(dir / "opt/SketchUp 2023/LayOut.app", "23.0");  // not a SketchUp application
    makeApp(dir / "opt/Blender.app", "4.0");
    makeApp(dir / "home/Applications/SketchUp Make.app", std::nullopt);
    fs::create_directories(dir / "home/Unity/Hub/Editor/2022.3.9f1");
    fs::create_directories(dir / "home/Unity/Hub/Editor/2022.3.10f1");
    test::ScopedEnv sdk("VISTREL_SKETCHUP_SDK", "/dev/sdk");

    std::vector<Location> c = candidates(roots());
    const std::string framework = "Contents/Frameworks/SketchUpAPI.framework";
    std::vector<Location> expected = {
        {"/dev/sdk", std::nullopt, false},
        {dir / "prefix/lib/vistrel/SketchUpAPI.framework", std::nullopt, true},
        {dir / "opt/SketchUp 2023/SketchUp.app" / framework, "23.1.340", false},
        {dir / "opt/SketchUp Viewer.app" / framework, "23.1.2", false},
        {dir / "opt/SketchUp 2021/SketchUp.app" / framework, "9.1", false},
        {dir / "home/Applications/SketchUp Make.app" / framework, std::nullopt, false},
        {dir / "home/Unity/Hub/Editor/2022.3.10f1/Unity.app" / framework, std::nullopt, false},
        {dir / "home/Unity/Hub/Editor/2022.3.9f1/Unity.app" / framework, std::nullopt, false},
    };
    EXPECT_EQ(c, expected);
    EXPECT_EQ(searchedURLs(roots()).size(), expected.size());
    // The first with a library inside is the one used.
    EXPECT_FALSE(locate(roots()));
    fs::create_directories(expected[4].frameworkURL);
    std::ofstream(expected[4].frameworkURL / "SketchUpAPI") << "x";
    EXPECT_EQ(locate(roots()), expected[4]);
}

TEST_F(SketchUpAPITest, releasedAppIgnoresSdkVariableAndBundledOnlyStopsEarly) {
    makeApp(dir / "opt/SketchUp.app", "24.0");
    test::ScopedEnv sdk("VISTREL_SKETCHUP_SDK", "/dev/sdk");
    SearchRoots released = roots();
    released.isBundledApp = true;
    EXPECT_EQ(candidates(released).front().frameworkURL,
              dir / "prefix/lib/vistrel/SketchUpAPI.framework");
    EXPECT_EQ(candidates(released).size(), 2u);

    test::ScopedEnv only("VISTREL_BUNDLED_SDK_ONLY", "");  // set, even empty
    std::vector<fs::path> frameworks;
    for (const Location& l : candidates(roots())) frameworks.push_back(l.frameworkURL);
    EXPECT_EQ(frameworks, (std::vector<fs::path>{
                              "/dev/sdk", dir / "prefix/lib/vistrel/SketchUpAPI.framework"}));
}

TEST_F(SketchUpAPITest, loadFunctionsNamesWhatIsMissing) {
    EXPECT_EQ(
        test::thrownError([] {
            loadFunctions({kStandIns / "incomplete/SketchUpAPI.framework", std::nullopt, false});
        }),
        SKPError::api("SUStringCreate", -1));
    fs::path notALibrary = dir / "Broken.framework";
    fs::create_directories(notALibrary);
    std::ofstream(notALibrary / "SketchUpAPI") << "not an ELF file";
    auto e = test::thrownError([&] { loadFunctions({notALibrary, std::nullopt, false}); });
    ASSERT_TRUE(e);
    EXPECT_EQ(e->kind(), SKPError::Kind::api);
    EXPECT_TRUE(e->function().starts_with("dlopen: ")) << e->function();
    EXPECT_NE(e->function().find("SketchUpAPI"), std::string::npos);
}

TEST_F(SketchUpAPITest, withoutLibraryARealSkpFailsWithNotFound) {
    test::ScopedEnv only("VISTREL_BUNDLED_SDK_ONLY", "1");
    auto e = test::thrownError([] { functions(); });
    ASSERT_TRUE(e);
    EXPECT_EQ(e->kind(), SKPError::Kind::sketchUpNotFound);
    EXPECT_EQ(e->searched(), searchedURLs());
    auto corpus = test::corpusDir();
    if (!corpus) GTEST_SKIP() << "no corpus";
    auto load = test::thrownError([&] { SKPReader::load(*corpus / "skp/testup2__Cube.skp"); });
    ASSERT_TRUE(load);
    EXPECT_EQ(load->kind(), SKPError::Kind::sketchUpNotFound);
}

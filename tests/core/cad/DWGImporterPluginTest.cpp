// The importer plug-in seam: unit calibration with a stand-in converter, opening a plug-in, where
// plug-ins are looked for, and CADReader's fallback around them.
#include "cad/DWGImporterPlugin.h"

#include <dlfcn.h>
#include <gtest/gtest.h>

#include <fstream>
#include <map>
#include <nlohmann/json.hpp>

#include "ScopedLanguage.h"
#include "TestEnv.h"
#include "ThrownError.h"
#include "cad/CADNormalization.h"
#include "cad/CADReader.h"
#include "cad/LoadedPlugin.h"
#include "dxf/DXFNativeParser.h"
#include "model/SKPError.h"
#include "settings/Localization.h"

using namespace vistrel;
using namespace vistrel::DWGImporterPlugin;
namespace fs = std::filesystem;

namespace {

const fs::path kStandIns = VISTREL_STANDIN_DIR;

// A scene one segment long along X, `metres` wide once read back.
nlohmann::json lineScene(double metres) {
    return {{"materials", {{{"name", "Ink"}}}},
            {"entities",
             {{"faces", {{{"vertices", {{0, 0, 0}, {metres / 0.0254, 0, 0}, {0, 1, 0}}}}}}}}};
}

class FakeConverter : public PluginConverter {
  public:
    std::map<int, nlohmann::json> scenes;
    std::vector<int> units;
    std::vector<fs::path> outputs;
    bool convertFile(const fs::path&, const fs::path& output, int importUnits) override {
        units.push_back(importUnits);
        outputs.push_back(output);
        auto it = scenes.find(importUnits);
        if (it == scenes.end()) return false;
        std::ofstream(output) << it->second.dump();
        return true;
    }
};

class PluginTest : public ::testing::Test {
  protected:
    fs::path write(const std::string& name, const std::string& text) {
        fs::path file = dir / name;
        std::ofstream(file) << text;
        return file;
    }
    SKPFileInfo info(const fs::path& file) { return SKPFileInfo::read(file); }
    int pluginCalls() {
        void* lib = dlopen((kStandIns / "plugin/DWGImporter").c_str(), RTLD_NOW | RTLD_NOLOAD);
        if (!lib) return 0;
        int n = reinterpret_cast<int (*)()>(dlsym(lib, "StandInPluginCalls"))();
        dlclose(lib);
        return n;
    }
    bool noTemporaryOutputs() {
        for (const auto& entry : fs::directory_iterator(tmp.path()))
            if (entry.path().filename().string().starts_with("Vistrel-CAD-")) return false;
        return true;
    }

    test::TempDir dir;
    test::TempDir tmp;
    test::ScopedEnv tmpdir{"TMPDIR", tmp.path().c_str()};
    test::ScopedEnv sdk{"VISTREL_SKETCHUP_SDK", (kStandIns / "full/SketchUpAPI.framework").c_str()};
    test::ScopedLanguage english{AppLanguage::en};
};

}  // namespace

TEST_F(PluginTest, smallFirstResultIsConvertedAgainInMetresAndScaled) {
    fs::path dwg = write("site.dwg", "AC1032 drawing");
    // Widths in metres of the default and the metric conversion, whether the second runs, result.
    const std::tuple<double, double, bool, float> cases[] = {{0.4, 400, true, 40},
                                                             {0.4, 4000, true, 4},
                                                             {0.4, 300, true, 300},
                                                             {0.999, 300, true, 300},
                                                             {2, 4000, false, 2}};
    for (auto [first, second, rerun, width] : cases) {
        SCOPED_TRACE(second);
        FakeConverter converter;
        converter.scenes = {{0, lineScene(first)}, {7, lineScene(second)}};
        std::vector<SKPReader::Progress> reports;
        SKPModel m = loadViaPlugin(dwg, info(dwg), converter,
                                   [&](const SKPReader::Progress& p) { reports.push_back(p); }, {});
        EXPECT_EQ(converter.units, (rerun ? std::vector{0, 7} : std::vector{0}));
        EXPECT_NEAR(m.boundsMax.x, width, width * 1e-5);
        EXPECT_EQ(m.fileInfo.url, dwg);
        ASSERT_FALSE(reports.empty());
        EXPECT_EQ(reports.back().phase, "Calibrating units…");
        // Each conversion writes its own temporary file, removed afterwards.
        for (const fs::path& out : converter.outputs) EXPECT_EQ(out.parent_path(), tmp.path());
        EXPECT_TRUE(!rerun || converter.outputs.at(0) != converter.outputs.at(1));
        EXPECT_TRUE(noTemporaryOutputs());
    }
}

TEST_F(PluginTest, failuresRemoveTheTemporaryOutput) {
    fs::path dwg = write("plan.dwg", "AC1032");
    FakeConverter silent;  // writes nothing
    EXPECT_EQ(test::thrownError([&] { loadViaPlugin(dwg, info(dwg), silent, {}, {}); }),
              SKPError::unreadable(dwg));

    FakeConverter converter;
    converter.scenes = {{0, lineScene(0.4)}, {7, {{"open", {{"result", 13}}}}}};
    EXPECT_THROW(loadViaPlugin(dwg, info(dwg), converter, {}, {}), SKPError);
    EXPECT_EQ(converter.units, (std::vector<int>{0, 7}));

    FakeConverter cancelled;
    cancelled.scenes = {{0, lineScene(1)}};
    EXPECT_EQ(test::thrownError(
                  [&] { loadViaPlugin(dwg, info(dwg), cancelled, {}, [] { return true; }); }),
              SKPError::cancelled());
    EXPECT_TRUE(noTemporaryOutputs());
}

TEST_F(PluginTest, loadedPluginNamesWhatFailedToOpen) {
    auto missing =
        test::thrownError([&] { LoadedPlugin(dir / "nothing/DWGImporter", dir.path()); });
    ASSERT_TRUE(missing);
    EXPECT_TRUE(missing->function().starts_with("dlopen(DWGImporter): ")) << missing->function();
    EXPECT_EQ(missing->code(), -1);
    EXPECT_EQ(test::thrownError([&] {
                  LoadedPlugin(kStandIns / "incomplete/SketchUpAPI.framework/SketchUpAPI",
                               dir.path());
              }),
              SKPError::api("dlsym(CDDImporter)", -1));
}

// The applications' order is SketchUpAPI's; here only where a plug-in sits in each.
TEST_F(PluginTest, pluginCandidatesAreOursThenEachApplications) {
    SketchUpAPI::SearchRoots roots;
    roots.ownLibraryDir = dir / "lib/vistrel";
    roots.applicationFolders = {dir / "opt"};
    const fs::path app = dir / "opt/SketchUp.app";
    fs::create_directories(app / "Contents");
    std::ofstream(app / "Contents/Info.plist")
        << "<key>CFBundleShortVersionString</key><string>24.0</string>";
    std::vector<PluginLocation> expected = {
        {dir / "lib/vistrel/DWGImporter.plugin/DWGImporter", dir / "lib/vistrel"},
        {app / "Contents/PlugIns/DWGImporter.plugin/Contents/MacOS/DWGImporter",
         app / "Contents/Frameworks"}};
    EXPECT_EQ(pluginCandidates(roots), expected);
    EXPECT_FALSE(locatePlugin(roots));
    fs::create_directories(expected[1].binaryURL.parent_path());
    std::ofstream(expected[1].binaryURL) << "x";
    EXPECT_EQ(locatePlugin(roots), expected[1]);

    test::ScopedEnv only("VISTREL_BUNDLED_SDK_ONLY", "1");
    EXPECT_EQ(pluginCandidates(roots).size(), 1u);
}

TEST_F(PluginTest, cadReaderUsesAnInstalledPluginAndFallsBackForDxfOnly) {
    // An installed SketchUp whose plug-in is the stand-in.
    fs::path app = dir / "home/Applications/SketchUp.app";
    fs::path binary = app / "Contents/PlugIns/DWGImporter.plugin/Contents/MacOS/DWGImporter";
    fs::create_directories(binary.parent_path());
    fs::create_symlink(kStandIns / "plugin/DWGImporter", binary);
    test::ScopedEnv home("HOME", (dir / "home").c_str());
    test::ScopedEnv noForce("VISTREL_FORCE_NATIVE_DXF", nullptr);

    fs::path dwg = write("house.dwg", nlohmann::json({{"0", lineScene(2)}}).dump());
    int before = pluginCalls();
    SKPModel m = CADReader::load(dwg, info(dwg), {}, {});
    EXPECT_EQ(pluginCalls(), before + 1);
    EXPECT_EQ(m.stats.faces, 1);
    EXPECT_EQ(m.materials.at(0).name, "Ink");

    // The plug-in's failure is final for DWG...
    fs::path badDwg = write("bad.dwg", "AC1032 not convertible");
    EXPECT_EQ(test::thrownError([&] { CADReader::load(badDwg, info(badDwg), {}, {}); }),
              SKPError::unreadable(badDwg));
    // ...while a DXF goes on to the native parser as if no plug-in were there.
    fs::path dxf =
        write("lines.dxf", "0\nSECTION\n2\nENTITIES\n0\nLINE\n11\n1\n0\nENDSEC\n0\nEOF\n");
    before = pluginCalls();
    SKPModel viaReader = CADReader::load(dxf, info(dxf), {}, {});
    EXPECT_EQ(pluginCalls(), before + 1);
    EXPECT_EQ(viaReader.root,
              normalizeCADModel(DXFNativeParser::parse(dxf, info(dxf), {}, {})).root);

    // Forced native: the plug-in is never touched, and a DWG has nothing to go to.
    test::ScopedEnv force("VISTREL_FORCE_NATIVE_DXF", "1");
    before = pluginCalls();
    auto notFound = test::thrownError([&] { CADReader::load(dwg, info(dwg), {}, {}); });
    EXPECT_EQ(notFound ? notFound->kind() : SKPError::Kind::cancelled,
              SKPError::Kind::sketchUpNotFound);
    CADReader::load(dxf, info(dxf), {}, {});
    EXPECT_EQ(pluginCalls(), before);
    EXPECT_TRUE(noTemporaryOutputs());
}

#include "remote/RemoteJSON.h"

#include <gtest/gtest.h>

#include "DocumentModelFixture.h"
#include "ScopedLanguage.h"
#include "settings/AppVersion.h"

using namespace vistrel;
using namespace vistrel::app;
using nlohmann::json;
using viewport::BackdropStyle;
using viewport::LightingMode;
using viewport::StandardView;

namespace {

const RemoteJSON::Endpoints endpoints{9153, 17952};

class RemoteJSONTest : public test::DocumentModelTest {
  protected:
    void apply(const char* cameraBody, const char* renderingBody = "{}") {
        RemoteJSON::applyCameraJSON(json::parse(cameraBody), doc());
        RemoteJSON::applyRenderingJSON(json::parse(renderingBody), doc());
    }
};

}  // namespace

TEST_F(RemoteJSONTest, stateWithoutDocumentHasEveryKeyWithItsFallback) {
    Preferences::setOscOutPort(9300);
    json state;
    {
        test::ScopedLanguage english(AppLanguage::en);
        state = RemoteJSON::stateDictionary(nullptr, endpoints);
    }
    EXPECT_EQ(state["version"], AppVersion::current().shortVersion);
    EXPECT_EQ(state.erase("build"), 1u);
    state.erase("version");
    EXPECT_EQ(state, json::parse(R"({"apiPort":17952,"app":"Vistrel","boundsMax":[],
        "boundsMin":[],"camera":{"ready":false},"dimensionsMetres":[0.0,0.0,0.0],
        "filePath":"","hasDocument":false,"isReady":false,"layerGroups":[],"layers":[],
        "oscFeedbackEnabled":true,"oscInPort":9153,"oscOutHost":"127.0.0.1","oscOutPort":9300,
        "rendering":{},"scenes":[],"selectedScene":null,
        "stats":{"edges":0,"faces":0,"instances":0,"materials":0},
        "statusText":"No file open","versionLabel":""})"));

    test::ScopedLanguage french(AppLanguage::fr);
    EXPECT_EQ(RemoteJSON::stateDictionary(nullptr, endpoints)["statusText"],
              "Aucun fichier ouvert");
}

TEST_F(RemoteJSONTest, stateOfGroupedModelListsScenesLayersAndMultiLayerGroupsOnly) {
    const Camera camera{{10, -10, 5}, {0, 0, 0}, {0, 0, 1}, true, 35, 10};
    SKPFileInfo info;
    info.url = "/tmp/grouped.skp";
    info.versionLabel = "SketchUp 2024";
    doc().setInfo(info);
    SKPModel model = test::groupedModel(
        {Scene{"Plan", camera, std::vector<int>{1}}, Scene{"Libre", std::nullopt, std::nullopt}});
    model.stats = Stats{12, 24, 5, 3, 0, 0};
    model.materials.resize(2);
    present(std::move(model));
    doc().selectScene(0, false);

    json state = RemoteJSON::stateDictionary(&doc(), endpoints);
    EXPECT_TRUE(state["hasDocument"] == true && state["isReady"] == true);
    EXPECT_EQ(state["filePath"], "/tmp/grouped.skp");
    EXPECT_EQ(state["versionLabel"], "SketchUp 2024");
    EXPECT_EQ(state["selectedScene"], 0);
    EXPECT_EQ(state["scenes"], json::parse(R"([
        {"index":0,"name":"Plan","hasCamera":true,"selected":true},
        {"index":1,"name":"Libre","hasCamera":false,"selected":false}])"));
    EXPECT_EQ(state["layers"][1], json::parse(R"({"index":1,"name":"Mur sud","visible":false})"));
    EXPECT_EQ(state["layers"].size(), 4u);
    ASSERT_EQ(state["layerGroups"].size(), 1u) << "Toit and Vide hold one layer each";
    json walls = state["layerGroups"][0];
    walls.erase("id");
    EXPECT_EQ(walls, json::parse(R"({"name":"Murs","layerIndices":[0,1],"visibleCount":1,
        "totalCount":2})"));
    EXPECT_EQ(state["stats"], json::parse(R"({"faces":12,"edges":5,"instances":3,"materials":2})"));
    EXPECT_EQ(state["boundsMax"], json::parse("[7.0,1.0,1.0]"));
    EXPECT_TRUE(state["camera"]["ready"] == true && state["rendering"]["lightingMode"] == "sun");
}

TEST_F(RemoteJSONTest, cameraBodyAppliesItsKeysInOrderAndPassesOverWrongTypes) {
    SKPModel withCamera = test::groupedModel();
    withCamera.camera = Camera{{10, -10, 5}, {0, 0, 0}, {0, 0, 1}, true, 35, 10};
    present(std::move(withCamera));
    settle();
    doc().setCameraFOV(70);
    apply(R"({"action":"reset","fov":50})");
    settle();
    EXPECT_FLOAT_EQ(doc().cameraFOV(), 50) << "the reset comes first";

    doc().lookStandardView(StandardView::top);
    settle();
    apply(R"({"position":[1,2,3],"x":9})");
    EXPECT_EQ(doc().cameraPosition(), (Float3{9, 2, 3}));
    EXPECT_FALSE(doc().activeStandardView());

    apply(R"({"pitch":-20})");
    apply(R"({"yaw":30})");
    EXPECT_NEAR(doc().cameraYaw(), 30, 1e-3);
    EXPECT_NEAR(doc().cameraPitch(), -20, 1e-3) << "yaw alone keeps the pitch";

    apply(R"({"distance":0,"speed":100,"exposure":-9})");
    EXPECT_FLOAT_EQ(doc().cameraDistance(), 0.05f);
    EXPECT_FLOAT_EQ(doc().cameraSpeedScale(), 16);
    EXPECT_FLOAT_EQ(doc().cameraExposure(), -3);

    doc().setPerspective(false);
    apply(R"({"fov":"60","perspective":1,"position":[1,"2",3],"view":"Arrière"})");
    EXPECT_FLOAT_EQ(doc().cameraFOV(), 50) << "a number as text is passed over";
    EXPECT_FALSE(doc().isPerspective()) << "1 is no boolean";
    EXPECT_EQ(doc().cameraPosition(), (Float3{9, 2, 3}));
    EXPECT_EQ(doc().activeStandardView(), StandardView::back) << "the other keys still apply";

    json camera = RemoteJSON::cameraDictionary(&doc());
    EXPECT_EQ(camera["fovDegrees"].dump(), "50.0");
    EXPECT_EQ(camera["distance"].dump(), "0.05") << "at its 32-bit value";
}

TEST_F(RemoteJSONTest, renderingBodyKeepsTheOtherSunAngleAndSwitchesToPointForALight) {
    present(test::groupedModel());
    doc().setSun(-100, 45);
    apply("{}", R"({"sunElevation":20})");
    EXPECT_TRUE(doc().sunAzimuthDegrees() == -100 && doc().sunElevationDegrees() == 20);

    ASSERT_EQ(doc().lightingMode(), LightingMode::sun);
    apply("{}", R"({"lightIntensity":0.5,"style":"Filaire"})");
    EXPECT_EQ(doc().shadingStyle(), viewport::ShadingStyle::wireframe);

    apply("{}", R"({"backdropStyle":"WARMPAPER"})");
    EXPECT_EQ(doc().backdropStyle(), BackdropStyle::warmPaper);
    EXPECT_EQ(Preferences::backdropStyleRaw(), "warmPaper");
    apply("{}", R"({"backdropStyle":"studioDark"})");
    apply("{}", R"({"backdropStyle":"paper"})");
    EXPECT_EQ(doc().backdropStyle(), BackdropStyle::studioDark) << "no short words over HTTP";

    json rendering = RemoteJSON::renderingDictionary(&doc());
    EXPECT_EQ(rendering["lightingMode"], "point");
    EXPECT_EQ(rendering["pointLightCount"], 1);
    EXPECT_EQ(rendering["selectedPointLight"]["intensity"].dump(), "0.5");
}

// Sorted keys, two-space indents, spaced colons and raw slashes show in the program's own
// replies (RemoteHTTPProgramTest); here what those replies never hold.
TEST(RemoteJSONText, bodyKeepsTextRawAndNestsObjects) {
    json value = {{"z", {{"b", true}, {"a", json::array()}}}, {"path", "/tmp/é.skp"}};
    EXPECT_EQ(RemoteJSON::bodyText(value),
              "{\n"
              "  \"path\" : \"/tmp/é.skp\",\n"
              "  \"z\" : {\n"
              "    \"a\" : [],\n"
              "    \"b\" : true\n"
              "  }\n"
              "}");
}

TEST_F(RemoteJSONTest, helpListsElevenEndpointsAndOneLinePerParameter) {
    OSCQueryParameterSpec fov;
    fov.path = "/vistrel/camera/fov";
    fov.typeTag = "f";
    fov.description = "Angle d'ouverture vertical de la caméra (FOV 10..120°)";
    json help = RemoteJSON::helpDictionary(endpoints, {fov});
    ASSERT_EQ(help["httpEndpoints"].size(), 11u);
    EXPECT_EQ(help["httpEndpoints"][7],
              R"(POST /v1/scene {"index":0, "name":"Scene 1", "action":"next|prev"})");
    EXPECT_EQ(help["oscAddresses"],
              json::array({"/vistrel/camera/fov [f] — Angle d'ouverture vertical de la caméra "
                           "(FOV 10..120°)"}));
    EXPECT_EQ(help["bonjourServices"], json::parse(R"(["_oscjson._tcp.","_osc._udp."])"));
}

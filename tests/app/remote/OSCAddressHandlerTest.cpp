#include "remote/OSCAddressHandler.h"

#include <gtest/gtest.h>

#include <limits>

#include "DocumentModelFixture.h"
#include "remote/RemoteWords.h"

using namespace vistrel;
using namespace vistrel::app;
using OSCCodec::Value;
using viewport::BackdropStyle;
using viewport::LightingMode;
using viewport::ShadingStyle;
using viewport::StandardView;

namespace {

class OSCAddressHandlerTest : public test::DocumentModelTest {
  protected:
    void send(const std::string& address, std::vector<Value> arguments = {}) {
        auto pieces = OSCAddressHandler::routePieces(address);
        ASSERT_FALSE(pieces.empty());
        OSCAddressHandler::apply(pieces, {address, std::move(arguments)}, doc());
    }
    static bool near(Float3 a, Float3 b) { return length(a - b) < 1e-3f; }
};

std::vector<Scene> scenes() {
    return {Scene{"Plan", std::nullopt, std::vector<int>{1}},
            Scene{"Coupe", std::nullopt, std::nullopt},
            Scene{"Tout", std::nullopt, std::vector<int>{}}};
}

}  // namespace

TEST_F(OSCAddressHandlerTest, addressesLoseEmptyPiecesAndOneLeadingVistrel) {
    using P = std::vector<std::string>;
    EXPECT_EQ(OSCAddressHandler::routePieces("//vistrel/camera//fov/"), (P{"camera", "fov"}));
    EXPECT_EQ(OSCAddressHandler::routePieces("/camera/vistrel"), (P{"camera", "vistrel"}));
    EXPECT_EQ(OSCAddressHandler::routePieces("/Vistrel/x"), (P{"Vistrel", "x"}));
    EXPECT_TRUE(OSCAddressHandler::routePieces("/vistrel/").empty());
}

TEST_F(OSCAddressHandlerTest, cameraRoutesMoveClampAndClearTheStandardView) {
    present(test::groupedModel());
    settle();
    send("/vistrel/camera", {1.0f, 2.0f, 3.0f});
    EXPECT_TRUE(near(doc().cameraPosition(), {1, 2, 3}));
    send("/camera/pos", {4, "5", 6.0f});
    send("/camera/z", {9.0f});
    EXPECT_TRUE(near(doc().cameraPosition(), {4, 5, 9}));
    send("/camera/pos", {1.0f, 2.0f});
    EXPECT_TRUE(near(doc().cameraPosition(), {4, 5, 9})) << "a missing coordinate drops it";

    send("/vistrel/camera/fov", {200.0f});
    EXPECT_FLOAT_EQ(doc().cameraFOV(), 120);
    send("/vistrel/camera/fov", {"35,5"});
    EXPECT_FLOAT_EQ(doc().cameraFOV(), 35.5f);
    send("/vistrel/camera/fov", {std::numeric_limits<float>::quiet_NaN()});
    send("/vistrel/camera/fov", {"inf"});
    send("/vistrel/camera/fov");
    EXPECT_FLOAT_EQ(doc().cameraFOV(), 35.5f) << "not finite or missing: nothing";
    send("/camera/speed", {0.01f});
    send("/camera/exposure", {-10});
    send("/camera/orthoscale", {0});
    EXPECT_FLOAT_EQ(doc().cameraSpeedScale(), 0.0625f);
    EXPECT_FLOAT_EQ(doc().cameraExposure(), -3);
    EXPECT_FLOAT_EQ(doc().cameraOrthoScale(), 0.05f);

    send("/vistrel/camera/eye_height");
    EXPECT_NEAR(doc().cameraPosition().z, 1.7f, 1e-4) << "a low flat model stands on its base";
    send("/camera/eyeheight", {2.5f});
    EXPECT_NEAR(doc().cameraPosition().z, 2.5f, 1e-4);

    send("/vistrel/camera/view", {"top"});
    settle();
    send("/camera/fov", {50});
    send("/camera/perspective", {true});
    EXPECT_EQ(doc().activeStandardView(), StandardView::top) << "these keep the view";
    const Float3 before = doc().cameraPosition();
    send("/camera/orbit");
    EXPECT_FALSE(doc().activeStandardView());
    EXPECT_TRUE(near(doc().cameraPosition(), before)) << "an orbit by nothing moves nothing";

    send("/camera/unknown", {1});
    send("/camera/pos/extra", {1.0f, 1.0f, 1.0f});
    EXPECT_TRUE(near(doc().cameraPosition(), before));
    const bool perspective = doc().isPerspective();
    send("/camera/perspective");
    EXPECT_NE(doc().isPerspective(), perspective);
}

TEST_F(OSCAddressHandlerTest, viewAndStyleWordsAreLowerCasedIncludingAccents) {
    EXPECT_EQ(standardViewForWord(lowerCased("ARRIÈRE")), StandardView::back);
    send("/vistrel/camera/view", {"top"});
    EXPECT_FALSE(doc().activeStandardView()) << "views wait for a ready document";
    present(test::groupedModel());
    send("/vistrel/camera/view", {"Arrière"});
    EXPECT_EQ(doc().activeStandardView(), StandardView::back);
    send("/camera/view", {"DESSOUS"});
    EXPECT_EQ(doc().activeStandardView(), StandardView::bottom);
    send("/camera/view", {"nowhere"});
    EXPECT_EQ(doc().activeStandardView(), StandardView::bottom);

    for (auto [word, style] : {std::pair{"Filaire", ShadingStyle::wireframe},
                               {"PBR", ShadingStyle::textured},
                               {"blanc", ShadingStyle::clay},
                               {"X-Ray", ShadingStyle::xray}}) {
        send("/style", {word});
        EXPECT_EQ(doc().shadingStyle(), style) << word;
    }
    send("/style", {"Clay"});
    send("/style", {"plastic"});
    EXPECT_EQ(doc().shadingStyle(), ShadingStyle::clay);
}

TEST_F(OSCAddressHandlerTest, togglesFlipWithoutArgumentAndFollowAWantedState) {
    const bool edges = doc().showsEdges();
    send("/vistrel/edges");
    EXPECT_NE(doc().showsEdges(), edges);
    send("/vistrel/edges", {doc().showsEdges() ? 1 : 0});
    EXPECT_NE(doc().showsEdges(), edges) << "already as wanted";
    send("/edges", {edges ? "oui" : "non"});
    EXPECT_EQ(doc().showsEdges(), edges);

    const bool shadows = doc().shadowsEnabled();
    send("/grid", {Value::impulse()});
    EXPECT_TRUE(doc().showsGrid()) << "an impulse is true";
    send("/shadows", {!shadows});
    EXPECT_NE(doc().shadowsEnabled(), shadows);
    send("/shadows", {"maybe"});
    EXPECT_EQ(doc().shadowsEnabled(), shadows) << "an unreadable switch toggles as none does";
    const bool gizmo = doc().showsPointLightGizmo();
    send("/light/gizmo");
    EXPECT_NE(doc().showsPointLightGizmo(), gizmo);
}

TEST_F(OSCAddressHandlerTest, scenesByIndexNameOrKeywordFallthrough) {
    present(test::groupedModel(scenes()));
    send("/vistrel/scene", {2});
    EXPECT_EQ(doc().selectedScene(), 2);
    send("/vistrel/scene", {"plan"});
    EXPECT_EQ(doc().selectedScene(), 0);
    EXPECT_FALSE(doc().layerVisible()[1]);
    send("/scene/whatever", {2.0f});
    EXPECT_EQ(doc().selectedScene(), 2);
    send("/scene/name", {"COUPE"});
    EXPECT_EQ(doc().selectedScene(), 1);
    send("/scene/next");
    send("/scene/next");
    EXPECT_EQ(doc().selectedScene(), 0) << "wraps";
    send("/scene/previous");
    EXPECT_EQ(doc().selectedScene(), 2);
    for (Value odd : {Value(1e20f), Value(std::numeric_limits<float>::infinity()), Value(-1),
                      Value("Nowhere"), Value("99999999999999999999")})
        send("/scene", {odd});
    send("/scene/name");
    EXPECT_EQ(doc().selectedScene(), 2);
}

TEST_F(OSCAddressHandlerTest, layersByIndexGroupAndSolo) {
    present(test::groupedModel());
    using V = std::vector<bool>;
    send("/vistrel/layer/3");
    EXPECT_EQ(doc().layerVisible(), (V{true, true, true, false}));
    send("/layer/3", {false});
    send("/layer/9");
    send("/layer/-1");
    send("/layer/x2");
    EXPECT_EQ(doc().layerVisible(), (V{true, true, true, false}));
    send("/layer/group", {"MURS"});
    EXPECT_EQ(doc().layerVisible(), (V{false, false, true, false}));
    send("/layer/group", {"murs"});
    EXPECT_EQ(doc().layerVisible(), (V{true, true, true, false}));
    send("/layer/group", {"Murs", false});
    send("/layer/all", {true});
    EXPECT_EQ(doc().layerVisible(), (V{true, true, true, true}));
    send("/layer/solo", {"toiture"});
    EXPECT_EQ(doc().layerVisible(), (V{false, false, true, false}));
    send("/layer/solo", {"Murs"});
    EXPECT_EQ(doc().layerVisible(), (V{true, true, false, false})) << "a group when no layer";
    send("/layer/solo", {3});
    EXPECT_EQ(doc().layerVisible(), (V{false, false, false, true}));
}

TEST_F(OSCAddressHandlerTest, lightRoutesSwitchToPointModeAndSunClamps) {
    present(test::groupedModel());
    send("/lighting/mode", {"SOLEIL"});
    ASSERT_EQ(doc().lightingMode(), LightingMode::sun);
    send("/vistrel/light/intensity", {0.5f});
    EXPECT_EQ(doc().lightingMode(), LightingMode::point);
    EXPECT_FLOAT_EQ(doc().selectedPointLight()->intensity, 0.5f);
    send("/lighting", {"sun"});
    send("/light", {"0,25"});
    EXPECT_EQ(doc().lightingMode(), LightingMode::point);
    EXPECT_FLOAT_EQ(doc().selectedPointLight()->intensity, 0.25f);
    send("/light/position", {1.0f, 2.0f, 3.0f});
    send("/light/y", {7});
    EXPECT_TRUE(near(doc().selectedPointLight()->position, {1, 7, 3}));
    send("/lighting", {"sun"});
    send("/light/position", {1.0f});
    EXPECT_EQ(doc().lightingMode(), LightingMode::point) << "switches before reading arguments";

    send("/sun", {500.0f, 0});
    EXPECT_FLOAT_EQ(doc().sunAzimuthDegrees(), 180);
    EXPECT_FLOAT_EQ(doc().sunElevationDegrees(), 8);
    send("/sun/elevation", {40});
    EXPECT_FLOAT_EQ(doc().sunAzimuthDegrees(), 180);
    EXPECT_FLOAT_EQ(doc().sunElevationDegrees(), 40);
    send("/sun/power", {9});
    EXPECT_FLOAT_EQ(doc().sunIntensity(), 3);
}

TEST_F(OSCAddressHandlerTest, backdropWordsMatchRawNamesThenShortWords) {
    for (auto [word, style] : {std::pair{"PAPER", BackdropStyle::warmPaper},
                               {"warmpaper", BackdropStyle::warmPaper},
                               {"Studio", BackdropStyle::studioDark},
                               {"ARCHITECTURALSKY", BackdropStyle::architecturalSky}}) {
        send("/vistrel/backdrop/style", {"dark"});
        send("/backdrop", {word});
        EXPECT_EQ(doc().backdropStyle(), style) << word;
    }
    send("/backdrop", {"custom"});
    EXPECT_EQ(doc().backdropStyle(), BackdropStyle::architecturalSky);
    EXPECT_EQ(backdropStyleForRawName("CustomColor"), BackdropStyle::customColor);
    send("/backdrop/color", {1.5f, 0, "0,5", 9});
    EXPECT_EQ(doc().backdropStyle(), BackdropStyle::customColor);
    EXPECT_TRUE(near(doc().customBackdropColor(), {1, 0, 0.5f}));
}

#include "remote/OSCAddressHandler.h"

#include <gtest/gtest.h>

#include <cmath>
#include <limits>

#include "DocumentModelFixture.h"
#include "remote/RemoteJSON.h"
#include "remote/RemoteWords.h"

using namespace vistrel;
using namespace vistrel::app;
using nlohmann::json;
using OSCCodec::Value;
using viewport::BackdropStyle;
using viewport::LightingMode;
using viewport::StandardView;

namespace {

// One message, then the value the state holds at `pointer` afterwards.
struct Step {
    std::string address;
    std::vector<Value> arguments;
    std::string pointer;
    json expected;
};

class OSCAddressHandlerTest : public test::DocumentModelTest {
  protected:
    void send(const std::string& address, std::vector<Value> arguments = {}) {
        auto pieces = OSCAddressHandler::routePieces(address);
        ASSERT_FALSE(pieces.empty());
        OSCAddressHandler::apply(pieces, {address, std::move(arguments)}, doc());
    }
    // Read back through the state the API reports, with the layers' visibility at a glance.
    void play(const std::vector<Step>& steps) {
        for (size_t i = 0; i < steps.size(); ++i) {
            send(steps[i].address, steps[i].arguments);
            json state = RemoteJSON::stateDictionary(&doc(), {0, 0});
            state["visibleLayers"] = doc().layerVisible();
            EXPECT_EQ(state[json::json_pointer(steps[i].pointer)], steps[i].expected)
                << "step " << i << ": " << steps[i].address;
        }
    }
    static bool near(Float3 a, Float3 b) { return length(a - b) < 1e-3f; }
};

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
    play({
        {"/vistrel/camera", {4, "5", 6.0f}, "/camera/position", {4, 5, 6}},
        {"/camera/z", {9.0f}, "/camera/position", {4, 5, 9}},
        // A missing coordinate drops the move; a number not finite or missing does nothing.
        {"/camera/pos", {1.0f, 2.0f}, "/camera/position", {4, 5, 9}},
        {"/camera/fov", {"35,5"}, "/camera/fovDegrees", 35.5},
        {"/camera/fov", {std::nanf("")}, "/camera/fovDegrees", 35.5},
        {"/camera/fov", {"inf"}, "/camera/fovDegrees", 35.5},
        {"/camera/fov", {}, "/camera/fovDegrees", 35.5},
        {"/camera/speed", {0.01f}, "/camera/speedScale", 0.0625},
        {"/camera/exposure", {-10}, "/camera/exposure", -3},
        {"/camera/orthoscale", {0}, "/camera/orthoScale", 0.05},
        // A low flat model stands on its base.
        {"/vistrel/camera/eye_height", {}, "/camera/position/2", 1.7},
        {"/camera/eyeheight", {2.5f}, "/camera/position/2", 2.5},
        {"/camera/unknown", {1}, "/camera/position/2", 2.5},
        {"/camera/pos/extra", {1.0f, 1.0f, 1.0f}, "/camera/position/2", 2.5},
    });

    send("/vistrel/camera/view", {"top"});
    settle();
    send("/camera/fov", {50});
    send("/camera/perspective", {true});
    EXPECT_EQ(doc().activeStandardView(), StandardView::top) << "these keep the view";
    const Float3 before = doc().cameraPosition();
    send("/camera/orbit");
    EXPECT_FALSE(doc().activeStandardView());
    EXPECT_TRUE(near(doc().cameraPosition(), before)) << "an orbit by nothing moves nothing";
    play({{"/camera/perspective", {}, "/camera/isPerspective", false}});
}

TEST_F(OSCAddressHandlerTest, viewAndStyleWordsAreLowerCasedIncludingAccents) {
    send("/vistrel/camera/view", {"top"});
    EXPECT_FALSE(doc().activeStandardView()) << "views wait for a ready document";
    present(test::groupedModel());
    send("/vistrel/camera/view", {"ARRIÈRE"});
    EXPECT_EQ(doc().activeStandardView(), StandardView::back);
    send("/camera/view", {"DESSOUS"});
    send("/camera/view", {"nowhere"});
    EXPECT_EQ(doc().activeStandardView(), StandardView::bottom);

    play({{"/style", {"Filaire"}, "/rendering/shadingStyle", "wireframe"},
          {"/style", {"PBR"}, "/rendering/shadingStyle", "textured"},
          {"/style", {"blanc"}, "/rendering/shadingStyle", "clay"},
          {"/style", {"X-Ray"}, "/rendering/shadingStyle", "xray"},
          {"/style", {"plastic"}, "/rendering/shadingStyle", "xray"}});
}

TEST_F(OSCAddressHandlerTest, togglesFlipWithoutArgumentAndFollowAWantedState) {
    const bool edges = doc().showsEdges(), shadows = doc().shadowsEnabled();
    const bool gizmo = doc().showsPointLightGizmo();
    play({{"/vistrel/edges", {}, "/rendering/showsEdges", !edges},
          {"/vistrel/edges", {edges ? 0 : 1}, "/rendering/showsEdges", !edges},  // as wanted
          {"/edges", {edges ? "oui" : "non"}, "/rendering/showsEdges", edges},
          {"/grid", {Value::impulse()}, "/rendering/showsGrid", true},  // an impulse is true
          {"/shadows", {!shadows}, "/rendering/shadowsEnabled", !shadows},
          // An unreadable switch toggles as none does.
          {"/shadows", {"maybe"}, "/rendering/shadowsEnabled", shadows},
          {"/light/gizmo", {}, "/rendering/showsPointLightGizmo", !gizmo}});
}

TEST_F(OSCAddressHandlerTest, scenesByIndexNameOrKeywordFallthrough) {
    present(test::groupedModel(test::threeScenes()));
    play({{"/vistrel/scene", {2}, "/selectedScene", 2},
          {"/vistrel/scene", {"plan"}, "/selectedScene", 0},
          {"/scene/whatever", {2.0f}, "/selectedScene", 2},
          {"/scene/name", {"SANS CAMÉRA"}, "/selectedScene", 1},
          {"/scene/next", {}, "/selectedScene", 2},
          {"/scene/next", {}, "/selectedScene", 0},  // wraps
          {"/scene/previous", {}, "/selectedScene", 2}});
    for (Value odd : {Value(1e20f), Value(std::numeric_limits<float>::infinity()), Value(-1),
                      Value("Nowhere"), Value("99999999999999999999")})
        send("/scene", {odd});
    send("/scene/name");
    EXPECT_EQ(doc().selectedScene(), 2);
}

TEST_F(OSCAddressHandlerTest, layersByIndexGroupAndSolo) {
    present(test::groupedModel());
    const json oneHidden = {true, true, true, false};
    play({{"/vistrel/layer/3", {}, "/visibleLayers", oneHidden},
          {"/layer/3", {false}, "/visibleLayers", oneHidden},
          {"/layer/9", {}, "/visibleLayers", oneHidden},
          {"/layer/-1", {}, "/visibleLayers", oneHidden},
          {"/layer/x2", {}, "/visibleLayers", oneHidden},
          {"/layer/group", {"MURS"}, "/visibleLayers", {false, false, true, false}},
          {"/layer/group", {"murs"}, "/visibleLayers", oneHidden},
          {"/layer/group", {"Murs", false}, "/visibleLayers", {false, false, true, false}},
          {"/layer/all", {true}, "/visibleLayers", {true, true, true, true}},
          {"/layer/solo", {"toiture"}, "/visibleLayers", {false, false, true, false}},
          // A group when no layer has the name.
          {"/layer/solo", {"Murs"}, "/visibleLayers", {true, true, false, false}},
          {"/layer/solo", {3}, "/visibleLayers", {false, false, false, true}}});
}

TEST_F(OSCAddressHandlerTest, lightRoutesSwitchToPointModeAndSunClamps) {
    present(test::groupedModel());
    send("/lighting/mode", {"SOLEIL"});
    ASSERT_EQ(doc().lightingMode(), LightingMode::sun);
    play({{"/light", {"0,25"}, "/rendering/lightingMode", "point"},
          {"/light", {"0,5"}, "/rendering/selectedPointLight/intensity", 0.5},
          {"/light/position",
           {1.0f, 2.0f, 3.0f},
           "/rendering/selectedPointLight/position",
           {1, 2, 3}},
          {"/light/y", {7}, "/rendering/selectedPointLight/position", {1, 7, 3}},
          {"/lighting", {"sun"}, "/rendering/lightingMode", "sun"},
          // Switches before reading the arguments.
          {"/light/position", {1.0f}, "/rendering/lightingMode", "point"},
          {"/sun/power", {9}, "/rendering/sunIntensity", 3}});

    send("/sun", {500.0f, 0});
    EXPECT_FLOAT_EQ(doc().sunAzimuthDegrees(), 180);
    EXPECT_FLOAT_EQ(doc().sunElevationDegrees(), 8);
    send("/sun/elevation", {40});
    EXPECT_FLOAT_EQ(doc().sunAzimuthDegrees(), 180);
    EXPECT_FLOAT_EQ(doc().sunElevationDegrees(), 40);
}

TEST_F(OSCAddressHandlerTest, backdropWordsMatchRawNamesThenShortWords) {
    play({{"/vistrel/backdrop/style", {"Studio"}, "/rendering/backdropStyle", "studioDark"},
          {"/backdrop", {"warmpaper"}, "/rendering/backdropStyle", "warmPaper"},
          {"/backdrop", {"ARCHITECTURALSKY"}, "/rendering/backdropStyle", "architecturalSky"},
          {"/backdrop", {"custom"}, "/rendering/backdropStyle", "architecturalSky"},
          {"/backdrop/color", {1.5f, 0, "0,5", 9}, "/rendering/customBackdropColor", {1, 0, 0.5}}});
    EXPECT_EQ(doc().backdropStyle(), BackdropStyle::customColor);
    EXPECT_EQ(backdropStyleForRawName("CustomColor"), BackdropStyle::customColor);
}

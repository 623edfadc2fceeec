#include "vocabulary/Rendering.h"

#include <gtest/gtest.h>

#include <clocale>
#include <cmath>
#include <string>
#include <vector>

#include "ScopedLanguage.h"

using namespace vistrel;
using namespace vistrel::viewport;

TEST(RenderingTest, sliderAndLightIntensityInvertEachOtherWithClampsAndAnExactZero) {
    struct Case {
        double slider, max;
        float power;
    };
    const std::vector<Case> toPower = {
        {1.5, 4, 4}, {-0.2, 4, 0}, {0.00001, 4, 0}, {NAN, 4, 0}, {1, 2.5, 2.5f},
    };
    for (const Case& c : toPower)
        EXPECT_EQ(Rendering::sliderToLightIntensity(c.slider, c.max), c.power) << c.slider;
    EXPECT_GT(Rendering::sliderToLightIntensity(0.000011, 4), 0);
    const std::vector<Case> toSlider = {
        {0, 0, 2}, {0, -1, 2}, {1, 4, 9}, {0, 4, -1}, {0, 4, NAN}, {0, 1, 0.000001f},
    };
    for (const Case& c : toSlider)
        EXPECT_EQ(Rendering::lightIntensityToSlider(c.power, c.max), c.slider) << c.power;
    for (double m : {1.0, 2.0, 4.0, 0.3})
        for (double s : {0.5, 0.01, 0.9, 1.0})
            EXPECT_NEAR(
                Rendering::lightIntensityToSlider(Rendering::sliderToLightIntensity(s, m), m), s,
                1e-6)
                << m << " " << s;
}

TEST(RenderingTest, lightPercentageReadsTheSameUnderAnyProcessLocale) {
    struct Case {
        float value;
        const char *fr, *en;
    };
    const std::vector<Case> cases = {
        {0, "0 %", "0 %"},           {0.0004f, "0 %", "0 %"},     {-3, "0 %", "0 %"},
        {0.05f, "5,0 %", "5.0 %"},   {0.0005f, "0,1 %", "0.1 %"}, {0.0994f, "9,9 %", "9.9 %"},
        {0.5f, "50 %", "50 %"},      {0.126f, "13 %", "13 %"},    {1, "100 %", "100 %"},
        {2.3456f, "235 %", "235 %"}, {NAN, "0 %", "0 %"},
    };
    // A decimal comma in the C library's locale must change nothing.
    const std::string saved = std::setlocale(LC_ALL, nullptr);
    const bool french = std::setlocale(LC_ALL, "fr_FR.UTF-8") != nullptr;
    {
        test::ScopedLanguage language(AppLanguage::fr);
        for (const Case& c : cases)
            EXPECT_EQ(Rendering::formatLightPercentage(c.value), c.fr) << c.value;
    }
    {
        test::ScopedLanguage language(AppLanguage::en);
        for (const Case& c : cases)
            EXPECT_EQ(Rendering::formatLightPercentage(c.value), c.en) << c.value;
    }
    std::setlocale(LC_ALL, saved.c_str());
    if (!french) GTEST_SKIP() << "fr_FR.UTF-8 is not installed; checked in the C locale only";
}

TEST(RenderingTest, customGradientStaysInRangeAndTheMiddleStopRepresentsEachStyle) {
    for (Float3 custom : {Float3{0, 0, 0}, Float3{1, 1, 1}, Float3{-2, 3, 0.5f}}) {
        const auto s = Rendering::backdropGradientStops(BackdropStyle::customColor, custom);
        for (Float3 stop : {s.top, s.mid, s.bottom})
            for (float v : {stop.x, stop.y, stop.z}) {
                EXPECT_GE(v, 0) << custom.x;
                EXPECT_LE(v, 1) << custom.x;
            }
        EXPECT_LE(s.top.z, s.mid.z);  // darker towards the top
        EXPECT_LE(s.mid.z, s.bottom.z);
    }
    for (BackdropStyle style : allBackdropStyles) {
        const Float3 custom{0.9f, 0.1f, 0.5f};
        const auto s = Rendering::backdropGradientStops(style, custom);
        EXPECT_EQ(Rendering::backdropRepresentativeColor(style, custom), s.mid);
    }
}

TEST(RenderingTest, edgeColourStaysLegibleOnEachBackdrop) {
    const Float3 darkEdge{0.14f, 0.16f, 0.20f}, clayEdge{0.16f, 0.18f, 0.22f},
        lightEdge{0.86f, 0.89f, 0.94f}, wireOnDark{0.95f, 0.96f, 0.99f},
        wireOnLight{0.07f, 0.09f, 0.12f};
    const Float3 grey52{0.52f, 0.52f, 0.52f}, grey51{0.51f, 0.51f, 0.51f}, none{};
    struct Case {
        BackdropStyle backdrop;
        Float3 custom;
        ShadingStyle shading;
        Float3 edge;
    };
    using B = BackdropStyle;
    using S = ShadingStyle;
    const std::vector<Case> cases = {
        {B::warmPaper, none, S::clay, darkEdge},
        {B::warmPaper, none, S::textured, darkEdge},
        {B::warmPaper, none, S::wireframe, wireOnLight},
        {B::studioDark, none, S::clay, clayEdge},
        {B::studioDark, none, S::textured, lightEdge},
        {B::studioDark, none, S::xray, lightEdge},
        {B::studioDark, none, S::wireframe, wireOnDark},
        {B::architecturalSky, none, S::wireframe, wireOnDark},
        {B::architecturalSky, none, S::textured, darkEdge},
        {B::architecturalSky, none, S::xray, darkEdge},
        {B::architecturalSky, none, S::clay, clayEdge},   // clay wins over the sky rule
        {B::customColor, grey52, S::textured, darkEdge},  // luma exactly 0.52 is light
        {B::customColor, grey52, S::clay, darkEdge},
        {B::customColor, grey52, S::wireframe, wireOnLight},
        {B::customColor, grey51, S::textured, lightEdge},
        {B::customColor, grey51, S::clay, clayEdge},
        {B::customColor, Rendering::defaultCustomBackdropColor, S::wireframe, wireOnDark},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(testing::Message() << rawValue(c.backdrop) << " " << rawValue(c.shading)
                                        << " custom " << c.custom.x);
        EXPECT_EQ(Rendering::contrastingEdgeColor(c.backdrop, c.custom, c.shading), c.edge);
    }
    EXPECT_NEAR(Rendering::backdropLuminance(B::architecturalSky, none), 0.48, 0.01);
}

TEST(RenderingTest, backdropAndSkyImagesRunBetweenTheirStops) {
    for (BackdropStyle style : allBackdropStyles) {
        SCOPED_TRACE(rawValue(style));
        const Float3 custom{0.3f, 0.6f, 0.9f};
        const Image image = Rendering::backdropImage(style, custom);
        ASSERT_EQ(image.width, 4);
        ASSERT_EQ(image.height, 256);
        const auto s = Rendering::backdropGradientStops(style, custom);
        // Top stop at the top, the middle one just past 0.58 of the height, bottom at the bottom.
        EXPECT_NEAR(image.pixel(0, 0)[0], s.top.x * 255, 1.5);
        EXPECT_NEAR(image.pixel(3, 148)[1], s.mid.y * 255, 1.5);
        EXPECT_NEAR(image.pixel(2, 255)[2], s.bottom.z * 255, 1.5);
    }
    const Image sky = Rendering::skyImage(false);
    ASSERT_EQ(sky.width, 512);
    ASSERT_EQ(sky.height, 256);
    // Zenith blue, warm horizon, and the ground grey from 0.18 rad below the horizon on.
    EXPECT_NEAR(sky.pixel(0, 0)[0], 0.52 * 255, 2);
    EXPECT_NEAR(sky.pixel(0, 0)[2], 0.90 * 255, 2);
    EXPECT_GE(sky.pixel(0, 127)[0], 240);
    EXPECT_LT(sky.pixel(0, 200)[0], sky.pixel(0, 127)[0] - 100) << "grey ground below";
    EXPECT_EQ(sky.pixel(0, 200)[0], sky.pixel(511, 255)[0]) << "and even";
    EXPECT_EQ(Rendering::skyImage(true).pixels,
              Rendering::backdropImage(BackdropStyle::architecturalSky, {0.9f, 0.9f, 0.9f}).pixels);
}

TEST(RenderingTest, ambientOcclusionIsNeverOnInParallelProjection) {
    CameraSettings parallel;
    parallel.usesOrthographicProjection = true;
    Rendering::configure(parallel);
    EXPECT_EQ(parallel.screenSpaceAmbientOcclusionIntensity, 0);
    struct Case {
        bool enabled, orthographic;
        double intensity, written;
    };
    const std::vector<Case> cases = {
        {true, false, 1.3, 1.3}, {false, false, 1.3, 0}, {true, true, 1.3, 0},
        {true, false, -1, 0},    {true, false, NAN, 0},  {true, false, 0, 0},
    };
    for (const Case& c : cases) {
        CameraSettings camera;
        camera.screenSpaceAmbientOcclusionIntensity = 0.5;
        camera.usesOrthographicProjection = c.orthographic;
        Rendering::setAmbientOcclusion(c.enabled, c.intensity, camera);
        EXPECT_EQ(camera.screenSpaceAmbientOcclusionIntensity, c.written)
            << c.enabled << c.orthographic << c.intensity;
    }
}

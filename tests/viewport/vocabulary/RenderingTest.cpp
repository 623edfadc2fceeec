#include "vocabulary/Rendering.h"

#include <gtest/gtest.h>

#include <clocale>
#include <cmath>
#include <string>
#include <tuple>
#include <vector>

#include "ScopedLanguage.h"

using namespace vistrel;
using namespace vistrel::viewport;

TEST(RenderingTest, sliderAndLightIntensityInvertEachOtherWithClampsAndAnExactZero) {
    using Case = std::tuple<double, double, float>;  // slider, maximum, power
    const std::vector<Case> toPower = {
        {1.5, 4, 4}, {-0.2, 4, 0}, {0.00001, 4, 0}, {NAN, 4, 0}, {1, 2.5, 2.5f},
    };
    for (const auto& [slider, max, power] : toPower)
        EXPECT_EQ(Rendering::sliderToLightIntensity(slider, max), power) << slider;
    EXPECT_GT(Rendering::sliderToLightIntensity(0.000011, 4), 0);
    const std::vector<Case> toSlider = {
        {0, 0, 2}, {0, -1, 2}, {1, 4, 9}, {0, 4, -1}, {0, 4, NAN}, {0, 1, 0.000001f},
    };
    for (const auto& [slider, max, power] : toSlider)
        EXPECT_EQ(Rendering::lightIntensityToSlider(power, max), slider) << power;
    for (double m : {1.0, 2.0, 4.0, 0.3})
        for (double s : {0.5, 0.01, 0.9, 1.0})
            EXPECT_NEAR(
                Rendering::lightIntensityToSlider(Rendering::sliderToLightIntensity(s, m), m), s,
                1e-6)
                << m << " " << s;
}

TEST(RenderingTest, lightPercentageReadsTheSameUnderAnyProcessLocale) {
    const std::tuple<float, const char*, const char*> cases[] = {
        {0, "0 %", "0 %"},           {0.0004f, "0 %", "0 %"},     {-3, "0 %", "0 %"},
        {0.05f, "5,0 %", "5.0 %"},   {0.0005f, "0,1 %", "0.1 %"}, {0.0994f, "9,9 %", "9.9 %"},
        {0.5f, "50 %", "50 %"},      {0.126f, "13 %", "13 %"},    {1, "100 %", "100 %"},
        {2.3456f, "235 %", "235 %"}, {NAN, "0 %", "0 %"},
    };
    // A decimal comma in the C library's locale must change nothing.
    const std::string saved = std::setlocale(LC_ALL, nullptr);
    const bool french = std::setlocale(LC_ALL, "fr_FR.UTF-8") != nullptr;
    for (AppLanguage language : {AppLanguage::fr, AppLanguage::en}) {
        test::ScopedLanguage scoped(language);
        for (const auto& [value, fr, en] : cases)
            EXPECT_EQ(Rendering::formatLightPercentage(value),
                      language == AppLanguage::fr ? fr : en)
                << value;
    }
    std::setlocale(LC_ALL, saved.c_str());
    if (!french) GTEST_SKIP() << "fr_FR.UTF-8 is not installed; checked in the C locale only";
}

TEST(RenderingTest, edgeColourStaysLegibleOnEachBackdrop) {
    auto luma = [](Float3 c) { return 0.2126f * c.x + 0.7152f * c.y + 0.0722f * c.z; };
    // Greys on either side of the light/dark boundary at a luma of 0.52.
    for (float grey : {0.05f, 0.51f, 0.52f, 0.95f})
        for (BackdropStyle backdrop : allBackdropStyles)
            for (ShadingStyle shading : allShadingStyles) {
                SCOPED_TRACE(testing::Message()
                             << rawValue(backdrop) << " " << rawValue(shading) << " " << grey);
                const Float3 custom{grey, grey, grey};
                const float edge = luma(Rendering::contrastingEdgeColor(backdrop, custom, shading));
                if (shading == ShadingStyle::clay)  // drawn over white clay, whatever the sky
                    EXPECT_LT(edge, 0.25f);
                else
                    EXPECT_GT(std::fabs(edge - Rendering::backdropLuminance(backdrop, custom)),
                              0.3f);
            }
    // The soft sky takes dark edges over faces, but light ones when the edges are all there is.
    EXPECT_GT(luma(Rendering::contrastingEdgeColor(BackdropStyle::architecturalSky, {},
                                                   ShadingStyle::wireframe)),
              0.5f);
}

#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "vocabulary/BackdropStyle.h"
#include "vocabulary/LightingMode.h"
#include "vocabulary/ShadingStyle.h"

using namespace vistrel;
using namespace vistrel::viewport;

namespace {

template <typename T, size_t N, typename FromRaw>
std::vector<std::string> rawValuesRoundTrip(const std::array<T, N>& all, FromRaw fromRaw) {
    std::vector<std::string> raws;
    for (T value : all) {
        EXPECT_EQ(fromRaw(rawValue(value)), value);
        raws.emplace_back(rawValue(value));
    }
    return raws;
}

}  // namespace

TEST(VocabularyTest, rawValuesAreTheExactWireWordsInDeclarationOrder) {
    EXPECT_EQ(rawValuesRoundTrip(allShadingStyles, shadingStyleFromRaw),
              (std::vector<std::string>{"textured", "clay", "xray", "wireframe"}));
    EXPECT_EQ(
        rawValuesRoundTrip(allBackdropStyles, backdropStyleFromRaw),
        (std::vector<std::string>{"architecturalSky", "studioDark", "warmPaper", "customColor"}));
    EXPECT_EQ(rawValuesRoundTrip(allLightingModes, lightingModeFromRaw),
              (std::vector<std::string>{"sun", "point"}));
    for (const char* bad : {"Textured", " clay", "xray ", "", "x-ray"})
        EXPECT_FALSE(shadingStyleFromRaw(bad)) << bad;
    EXPECT_FALSE(backdropStyleFromRaw("architecturalsky"));
    EXPECT_FALSE(lightingModeFromRaw("Sun"));
}

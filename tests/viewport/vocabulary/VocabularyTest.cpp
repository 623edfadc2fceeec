#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "vocabulary/BackdropStyle.h"
#include "vocabulary/LightingMode.h"
#include "vocabulary/ShadingStyle.h"
#include "vocabulary/Uuid.h"

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

TEST(VocabularyTest, uuidIsVersion4AndSurvivesItsTextForm) {
    const Uuid a = Uuid::random(), b = Uuid::random();
    EXPECT_NE(a, b);
    const std::string text = a.string();
    ASSERT_EQ(text.size(), 36u);
    EXPECT_EQ(text[14], '4');
    EXPECT_NE(std::string("89AB").find(text[19]), std::string::npos);
    EXPECT_EQ(Uuid::parse(text), a);
    std::string lower = text;
    for (char& c : lower) c = char(std::tolower(c));
    EXPECT_EQ(Uuid::parse(lower), a);
    for (const char* bad :
         {"", "E621E1F8-C36C-495A-93FC-0C247A3E6E5", "E621E1F8C36C-495A-93FC-0C247A3E6E5F0",
          "E621E1F8-C36C-495A-93FC-0C247A3E6E5G", "E621E1F8-C36C-495A-93FC+0C247A3E6E5F"})
        EXPECT_FALSE(Uuid::parse(bad)) << bad;
}

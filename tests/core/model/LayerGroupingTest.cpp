#include "model/LayerGrouping.h"

#include <gtest/gtest.h>

using namespace vistrel;

namespace {

std::vector<Layer> named(std::initializer_list<const char*> names) {
    std::vector<Layer> layers;
    for (const char* n : names) layers.push_back({n, true, std::nullopt});
    return layers;
}

// The groups as "id:name[members]" for compact comparisons.
std::vector<std::string> summary(const std::vector<LayerGroup>& groups) {
    std::vector<std::string> out;
    for (const auto& g : groups) {
        std::string s = g.id + ":" + g.name + "[";
        for (size_t i = 0; i < g.layerIndices.size(); ++i)
            s += (i ? "," : "") + std::to_string(g.layerIndices[i]);
        out.push_back(s + "]");
    }
    return out;
}

}  // namespace

TEST(LayerGrouping, firstLayerStaysSingleAndPluralsFoldOnlyPastFourCharacters) {
    EXPECT_TRUE(buildLayerGroups({}).empty());
    EXPECT_EQ(summary(buildLayerGroups(named({"Layer0"}))),
              std::vector<std::string>{"layer-0:Layer0[0]"});
    // "Mur 1"/"Mur 2" share "mur"; "Murs" is only 4 characters and keeps its s.
    auto murs = buildLayerGroups(named({"Layer0", "Mur 1", "Mur 2", "Murs"}));
    EXPECT_EQ(summary(murs), (std::vector<std::string>{"layer-0:Layer0[0]", "group-mur:Mur[1,2]",
                                                       "layer-3:Murs[3]"}));
    EXPECT_EQ(murs[1].memberLabels.at(1), "1");
    EXPECT_EQ(murs[1].memberLabels.at(2), "2");
    // "Plans" (5 characters) loses its s and joins "Plan"; the first layer never joins.
    auto plans = buildLayerGroups(named({"Plan", "Plan", "Plans", "Plan 2"}));
    EXPECT_EQ(summary(plans),
              (std::vector<std::string>{"layer-0:Plan[0]", "group-plan:Plan[1,2,3]"}));
}

TEST(LayerGrouping, caseAndDiacriticsFoldButTheFirstSpellingNamesTheGroup) {
    auto g = buildLayerGroups(named({"0", "Étage 1", "etage-2"}));
    ASSERT_EQ(g.size(), 2u);
    EXPECT_EQ(g[1].name, "Étage");
    EXPECT_EQ(g[1].layerIndices, (std::vector<int>{1, 2}));
    EXPECT_EQ(g[1].memberLabels.at(1), "1");
    EXPECT_EQ(g[1].memberLabels.at(2), "2");
    EXPECT_EQ(g[1].id, "group--tage");
    // The file's own separators stay in the display name.
    auto walls = buildLayerGroups(named({"0", "A-WALL-EXT", "A-WALL-INT"}));
    EXPECT_EQ(walls[1].name, "A-WALL");
    EXPECT_EQ(walls[1].memberLabels.at(1), "EXT");
}

TEST(LayerGrouping, bucketsOfEightSplitOnTheSecondToken) {
    auto eight = named({"0", "A-WALL-EXT", "A-WALL-INT", "A-DOOR-EXT", "A-DOOR-INT", "A-ROOF",
                        "A-GRID", "A-TEXT", "A-NOTE"});
    EXPECT_EQ(summary(buildLayerGroups(eight)),
              (std::vector<std::string>{"layer-0:0[0]", "group-a-wall:A-WALL[1,2]",
                                        "group-a-door:A-DOOR[3,4]", "group-a:A[5,6,7,8]"}));
    // Seven members with a non-generic first token stay one bucket.
    eight.pop_back();
    EXPECT_EQ(summary(buildLayerGroups(eight)),
              (std::vector<std::string>{"layer-0:0[0]", "group-a:A[1,2,3,4,5,6,7]"}));
    // A generic first token is looked at below eight, but distinct second tokens keep it whole.
    auto w = named({"0", "W-1", "W-2", "W-3", "W-4", "W-5", "W-6", "W-7"});
    auto wg = buildLayerGroups(w);
    ASSERT_EQ(wg.size(), 2u);
    EXPECT_EQ(wg[1].layerIndices.size(), 7u);
    // "2d" as second token moves the split one token on.
    auto twoD = named({"0", "Mur 2d haut", "Mur 2d haut 2", "Mur 2d bas", "Mur 2d bas 2",
                       "Mur 2d axe", "Mur 2d cote", "Mur 2d plan", "Mur 2d toit"});
    auto tg = buildLayerGroups(twoD);
    std::vector<std::string> names;
    for (auto& g : tg) names.push_back(g.name);
    EXPECT_EQ(names, (std::vector<std::string>{"0", "Mur 2d haut", "Mur 2d bas", "Mur 2d"}));
    EXPECT_EQ(tg[3].memberLabels.at(5), "axe");
}

TEST(LayerGrouping, tagFoldersAreNeverSplitOrMergedByName) {
    std::vector<Layer> layers{{"Layer0", true, std::nullopt},
                              {"Murs", true, std::string("Structure")},
                              {"Mur 2", true, std::nullopt},
                              {"Poteaux", true, std::string("structure")},
                              {"Seul", true, std::string("Mobilier")}};
    auto g = buildLayerGroups(layers);
    EXPECT_EQ(summary(g),
              (std::vector<std::string>{"layer-0:Layer0[0]", "group-structure:Structure[1,3]",
                                        "layer-2:Mur 2[2]", "group-mobilier:Mobilier[4]"}));
    EXPECT_FALSE(g[3].isSingle() && g[3].id.starts_with("layer-"));
}

TEST(LayerGrouping, collidingIdsAndSeparatorOnlyNames) {
    // "A B" and "A-B" both give id group-a-b; the second gets its first index appended.
    std::vector<Layer> layers{{"x", true, std::nullopt},
                              {"one", true, std::string("A B")},
                              {"two", true, std::string("A-B")},
                              {"--", true, std::nullopt},
                              {"--", true, std::nullopt}};
    auto g = buildLayerGroups(layers);
    EXPECT_EQ(summary(g),
              (std::vector<std::string>{"layer-0:x[0]", "group-a-b:A B[1]", "group-a-b-2:A-B[2]",
                                        "layer-3:--[3]", "layer-4:--[4]"}));
}

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
    // "Mur 1"/"Mur 2" share "mur"; "Murs" is only 4 characters and keeps its s.
    auto murs = buildLayerGroups(named({"Layer0", "Mur 1", "Mur 2", "Murs"}));
    EXPECT_EQ(summary(murs), (std::vector<std::string>{"layer-0:Layer0[0]", "group-mur:Mur[1,2]",
                                                       "layer-3:Murs[3]"}));
    EXPECT_EQ(murs[1].memberLabels, (std::map<int, std::string>{{1, "1"}, {2, "2"}}));
    // "Plans" (5 characters) loses its s and joins "Plan"; the first layer never joins.
    auto plans = buildLayerGroups(named({"Plan", "Plan", "Plans", "Plan 2"}));
    EXPECT_EQ(summary(plans),
              (std::vector<std::string>{"layer-0:Plan[0]", "group-plan:Plan[1,2,3]"}));
}

TEST(LayerGrouping, caseAndDiacriticsFoldButTheFirstSpellingNamesTheGroup) {
    auto g = buildLayerGroups(named({"0", "Étage 1", "etage-2"}));
    EXPECT_EQ(summary(g), (std::vector<std::string>{"layer-0:0[0]", "group--tage:Étage[1,2]"}));
    EXPECT_EQ(g[1].memberLabels, (std::map<int, std::string>{{1, "1"}, {2, "2"}}));
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
    EXPECT_EQ(summary(buildLayerGroups(w)).back(), "group-w:W[1,2,3,4,5,6,7]");
    // "2d" as second token moves the split one token on.
    auto twoD = named({"0", "Mur 2d haut", "Mur 2d haut 2", "Mur 2d bas", "Mur 2d bas 2",
                       "Mur 2d axe", "Mur 2d cote", "Mur 2d plan", "Mur 2d toit"});
    auto tg = buildLayerGroups(twoD);
    EXPECT_EQ(summary(tg),
              (std::vector<std::string>{"layer-0:0[0]", "group-mur-2d-haut:Mur 2d haut[1,2]",
                                        "group-mur-2d-bas:Mur 2d bas[3,4]",
                                        "group-mur-2d:Mur 2d[5,6,7,8]"}));
    EXPECT_EQ(tg[3].memberLabels.at(5), "axe");
}

// Folders group whatever their layers are called; of two ids that collide ("A B" and "A-B") the
// second gets its first index appended; names of separators only stay single.
TEST(LayerGrouping, tagFoldersAreNeverSplitOrMergedByName) {
    auto layers = named({"Layer0", "Murs", "Mur 2", "Poteaux", "Seul", "one", "two", "--", "--"});
    const std::pair<int, const char*> folders[] = {
        {1, "Structure"}, {3, "structure"}, {4, "Mobilier"}, {5, "A B"}, {6, "A-B"}};
    for (auto [index, folder] : folders) layers[index].folder = folder;
    EXPECT_EQ(summary(buildLayerGroups(layers)),
              (std::vector<std::string>{"layer-0:Layer0[0]", "group-structure:Structure[1,3]",
                                        "layer-2:Mur 2[2]", "group-mobilier:Mobilier[4]",
                                        "group-a-b:A B[5]", "group-a-b-6:A-B[6]", "layer-7:--[7]",
                                        "layer-8:--[8]"}));
}

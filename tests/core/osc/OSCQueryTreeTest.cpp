#include "osc/OSCQueryTree.h"

#include <gtest/gtest.h>

using namespace vistrel;
using nlohmann::json;
using OSCQueryTree::nodeJSON;

namespace {

const json root = OSCQueryTree::rootJSON(
    {
        {"/a/b/pos", "fff", 3, "old", -1.0, 1.0, {0.0, 0.0, 0.0}, std::nullopt},
        {"/a/b/go", "I", 2, "go", std::nullopt, std::nullopt, {}, std::nullopt},
        {"/a/name", "s", 3, "name", std::nullopt, std::nullopt, {"x"}, std::nullopt},
        {"/a/bare", "", 3, "bare", 2.0, 4.0, {}, std::vector<std::string>{}},
        {"//", "f", 3, "passed over", std::nullopt, std::nullopt, {1.0}, std::nullopt},
        {"/a/b/pos", "fff", 3, "pos", -1.0, 1.0, {1.0, 2.0, 3.0}, {{"m", "m", "m"}}},
    },
    "Vistrel");

}  // namespace

TEST(OSCQueryTree, foldsPathsIntoNodesWithOneRangePerTagAndTheLastSpecWinning) {
    EXPECT_EQ(root.size(), 4u);  // FULL_PATH, ACCESS 0, CONTENTS, DESCRIPTION
    EXPECT_EQ(root["DESCRIPTION"], "Vistrel");
    const json& a = root["CONTENTS"]["a"];
    EXPECT_EQ(a.size(), 3u);  // FULL_PATH, ACCESS 0, CONTENTS
    EXPECT_EQ(a["ACCESS"], 0);
    EXPECT_EQ(*nodeJSON("/a/b/pos", root), json::parse(R"({"FULL_PATH": "/a/b/pos", "ACCESS": 3,
        "TYPE": "fff", "DESCRIPTION": "pos", "VALUE": [1, 2, 3], "UNIT": ["m", "m", "m"],
        "RANGE": [{"MIN": -1, "MAX": 1}, {"MIN": -1, "MAX": 1}, {"MIN": -1, "MAX": 1}]})"));
    EXPECT_EQ(*nodeJSON("/a/b/go", root), json::parse(R"({"FULL_PATH": "/a/b/go", "ACCESS": 2,
        "TYPE": "I", "DESCRIPTION": "go"})"));
    EXPECT_EQ(*nodeJSON("/a/name", root), json::parse(R"({"FULL_PATH": "/a/name", "ACCESS": 3,
        "TYPE": "s", "DESCRIPTION": "name", "VALUE": ["x"]})"));
    // No tag still gives one range; an empty unit list gives no key.
    EXPECT_EQ(*nodeJSON("/a/bare", root), json::parse(R"({"FULL_PATH": "/a/bare", "ACCESS": 3,
        "TYPE": "", "DESCRIPTION": "bare", "RANGE": [{"MIN": 2, "MAX": 4}]})"));
}

TEST(OSCQueryTree, lookupsIgnoreEmptyPiecesAndFindNothingBelowALeaf) {
    EXPECT_EQ(nodeJSON("/", root), root);
    EXPECT_EQ(nodeJSON("", root), root);
    EXPECT_EQ(nodeJSON("//a///b/", root), root["CONTENTS"]["a"]["CONTENTS"]["b"]);
    EXPECT_EQ(nodeJSON("a/b/go", root), root["CONTENTS"]["a"]["CONTENTS"]["b"]["CONTENTS"]["go"]);
    for (auto path : {"/nope", "/a/b/pos/x", "/a/b/FULL_PATH", "/a/b/CONTENTS"})
        EXPECT_FALSE(nodeJSON(path, root)) << path;
}

TEST(OSCQueryTree, hostInfoAdvertisesUDPAndOnlyTheExtensionsServed) {
    EXPECT_EQ(OSCQueryTree::hostInfoJSON("Vistrel", 9152),
              json::parse(R"({"NAME": "Vistrel", "OSC_PORT": 9152, "OSC_TRANSPORT": "UDP",
        "EXTENSIONS": {"ACCESS": true, "DESCRIPTION": true, "VALUE": true, "RANGE": true,
        "UNIT": true, "TAGS": false, "CLIPMODE": false, "CRITICAL": false, "LISTEN": false,
        "PATH_CHANGED": false}})"));
}

#include "cad/CADTextLayout.h"

#include <gtest/gtest.h>

#include <cmath>

using namespace vistrel;

namespace {

struct Box {
    double x0 = HUGE_VAL, y0 = HUGE_VAL, x1 = -HUGE_VAL, y1 = -HUGE_VAL, z = 0;
    size_t strokes = 0;
};

Box laidOut(const CADText& t, CADPoint extrusion = {0, 0, 1}) {
    std::vector<std::vector<CADPoint>> strokes;
    CADTextLayout::layout(t, extrusion, strokes);
    Box b;
    b.strokes = strokes.size();
    for (const auto& s : strokes)
        for (const CADPoint& p : s) {
            b.x0 = std::min(b.x0, p.x), b.x1 = std::max(b.x1, p.x);
            b.y0 = std::min(b.y0, p.y), b.y1 = std::max(b.y1, p.y);
            b.z = p.z;
        }
    return b;
}

CADText text(const char* s, double height = 2.1) {
    CADText t;
    t.contents = s;
    t.height = height;
    return t;
}

}  // namespace

TEST(CADTextLayout, controlAndFormattingCodesAreRead) {
    struct Case {
        const char* mtext;
        std::vector<std::u32string> lines;
    };
    for (const Case& c : {Case{"\\A1;{\\H2.5x;\\fArial|b1;Room}\\PKitchen", {U"Room", U"Kitchen"}},
                          {"a\\~b\\\\c\\{d\\}^Je", {U"a b\\c{d}", U"e"}},
                          {"f\ng\th", {U"f", U"g h"}},
                          {"\\S1^2;\" \\S3#4;", {U"1/2\" 3/4"}},
                          {"\\U+00E9t\\U+00E9 %%d", {U"\u00E9t\u00E9 \u00B0"}},
                          {"\\C1;\\LRed\\l \\Q15;x\\W0.8;y", {U"Red xy"}}}) {
        SCOPED_TRACE(c.mtext);
        EXPECT_EQ(CADTextLayout::mtextLines(c.mtext), c.lines);
    }
    EXPECT_EQ(CADTextLayout::plainText("45%%d %%uA%%u %%p1 %%c5 %%%%%065"),
              U"45\u00B0 A \u00B11 \u23005 %A");
    EXPECT_EQ(CADTextLayout::plainText("caf\xE9"), U"caf\u00E9");  // a Latin-1 byte stands
}

TEST(CADTextLayout, textSitsWhereItsJustificationSays) {
    // "H" in Roman simplex: strokes from 4 to 18 of an advance of 22, cap height 21.
    struct Case {
        const char* name;
        int h, v;
        double x0, x1, y0, y1;
    };
    for (const Case& c : {Case{"left, baseline", 0, 0, 10.4, 11.8, 5, 7.1},
                          {"centre", 1, 0, -0.7, 0.7, 0, 2.1},
                          {"right", 2, 0, -1.8, -0.4, 0, 2.1},
                          {"middle", 4, 0, -0.7, 0.7, -1.05, 1.05},
                          {"left, top", 0, 3, 0.4, 1.8, -2.1, 0}}) {
        SCOPED_TRACE(c.name);
        CADText t = text("H");
        t.insertion = {10, 5, 0};
        t.hasAlignment = true;
        t.hAlign = c.h;
        t.vAlign = c.v;
        Box b = laidOut(t);
        EXPECT_EQ(b.strokes, 3u);
        EXPECT_NEAR(b.x0, c.x0, 1e-9);
        EXPECT_NEAR(b.x1, c.x1, 1e-9);
        EXPECT_NEAR(b.y0, c.y0, 1e-9);
        EXPECT_NEAR(b.y1, c.y1, 1e-9);
    }
    // Turned a quarter, and seen from below (the OCS's X runs along world -X).
    CADText turned = text("H");
    turned.rotation = 90;
    Box r = laidOut(turned);
    EXPECT_NEAR(r.y0, 0.4, 1e-9);
    EXPECT_NEAR(r.x0, -2.1, 1e-9);
    CADText backward = text("H");
    backward.backward = backward.upsideDown = true;
    Box b = laidOut(backward);
    EXPECT_NEAR(b.x0, -1.8, 1e-9);
    EXPECT_NEAR(b.y0, -2.1, 1e-9);
    CADText mirrored = text("H");
    mirrored.insertion = {0, 0, 3};
    Box m = laidOut(mirrored, {0, 0, -1});
    EXPECT_NEAR(m.x1, -0.4, 1e-9);
    EXPECT_EQ(m.z, -3);
}

TEST(CADTextLayout, mtextBreaksWrapsAndAttaches) {
    CADText two = text("A\\PB", 3);
    two.mtext = true;
    two.attachment = 5;  // middle centre
    Box b = laidOut(two);
    EXPECT_NEAR(b.y1 - b.y0, 3 + 5, 1e-6);  // a cap height and a line of 5/3 of it
    EXPECT_NEAR(b.y0 + b.y1, 0, 1e-6);
    EXPECT_NEAR(b.x0 + b.x1, 0, 1e-6);

    CADText words = text("one two three four", 1);
    words.mtext = true;
    Box oneLine = laidOut(words);
    words.referenceWidth = 3;
    Box wrapped = laidOut(words);
    EXPECT_NEAR(oneLine.y0, -1, 1e-6);  // top left: the caps hang from the insertion point
    EXPECT_LT(wrapped.x1, oneLine.x1 / 2);
    EXPECT_LT(wrapped.y0, -3 * 5.0 / 3);

    // Letters the stroke font lacks come from outlines at the same size; accents stand higher.
    Box accented = laidOut(text("\u00C9"));
    EXPECT_GT(accented.strokes, 0u);
    EXPECT_GT(accented.y1, 2.2);
    EXPECT_LT(accented.y0, 0.1);
}

#include "scene/LineThinning.h"

#include <gtest/gtest.h>

#include <algorithm>

using namespace vistrel;
using namespace vistrel::viewport;

// Cells of 1 from the origin: a wall longer than a cell, a chain of short steps along x inside
// the cell [2,3) x [0,1), and a lone short segment in another cell.
TEST(LineThinningTest, mergesShortSegmentsPerCellAndKeepsLongOnes) {
    std::vector<Float3> points = {{0, 0, 0}, {0, 5, 0}};
    for (int i = 0; i < 8; ++i)
        points.insert(points.end(),
                      {{2.1f + 0.1f * float(i), 0.5f, 0}, {2.2f + 0.1f * float(i), 0.52f, 0}});
    points.insert(points.end(), {{7.2f, 3.1f, 0}, {7.2f, 3.4f, 0}});
    std::vector<Float3> out;
    ASSERT_TRUE(LineThinning::thin(points.data(), points.size(), {0, 0, 0}, 1.0f, 5, out));
    ASSERT_EQ(out.size(), 6u);
    EXPECT_EQ(out[0], (Float3{0, 0, 0}));  // long ones first, unchanged
    EXPECT_EQ(out[1], (Float3{0, 5, 0}));
    // The chain becomes one segment between its ends along x.
    EXPECT_FLOAT_EQ(out[2].x, 2.1f);
    EXPECT_FLOAT_EQ(out[3].x, 2.9f);
    // The lone one is itself, ends ordered along its longest axis.
    EXPECT_EQ(out[4], (Float3{7.2f, 3.1f, 0}));
    EXPECT_EQ(out[5], (Float3{7.2f, 3.4f, 0}));

    // Too many kept, or cells too fine for the extent: nothing.
    EXPECT_FALSE(LineThinning::thin(points.data(), points.size(), {0, 0, 0}, 1.0f, 2, out));
    EXPECT_TRUE(out.empty());
    EXPECT_FALSE(LineThinning::thin(points.data(), points.size(), {-3e6f, 0, 0}, 1.0f, 100, out));
}

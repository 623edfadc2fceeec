#include "documents/Format.h"

#include <gtest/gtest.h>

#include <limits>

#include "ScopedLanguage.h"

using namespace vistrel;
using namespace vistrel::app;

TEST(FormatTest, decimalKeepsOneDigitAndGroupsThousandsInEnglish) {
    test::ScopedLanguage english(AppLanguage::en);
    EXPECT_EQ(Format::decimal(2.5f), "2.5");
    EXPECT_EQ(Format::decimal(1.0f), "1.0");
    EXPECT_EQ(Format::decimal(1234.56), "1,234.6");
    EXPECT_EQ(Format::decimal(-12.34), "-12.3");
    EXPECT_EQ(Format::decimal(0.04), "0.0");
    EXPECT_EQ(Format::decimal(-0.04), "0.0");
}

TEST(FormatTest, decimalUsesNarrowSpaceAndCommaInFrench) {
    test::ScopedLanguage french(AppLanguage::fr);
    EXPECT_EQ(Format::decimal(2.5f), "2,5");
    EXPECT_EQ(Format::decimal(1234.56), "1\u202F234,6");
    EXPECT_EQ(Format::decimal(1234567.0), "1\u202F234\u202F567,0");
}

TEST(FormatTest, numberThatCannotBeFormattedGivesPlainText) {
    test::ScopedLanguage english(AppLanguage::en);
    EXPECT_EQ(Format::decimal(std::numeric_limits<double>::infinity()), "inf");
}

TEST(FormatTest, englishCountsArePluralForEveryNumberButOne) {
    test::ScopedLanguage english(AppLanguage::en);
    EXPECT_EQ(Format::count(0, "face"), "0 faces");
    EXPECT_EQ(Format::count(1, "face"), "1 face");
    EXPECT_EQ(Format::count(2, "edge"), "2 edges");
    EXPECT_EQ(Format::count(999, "face"), "999 faces");
    EXPECT_EQ(Format::count(1234567, "face"), "1,234,567 faces");
}

TEST(FormatTest, frenchCountsArePluralOnlyAboveOne) {
    test::ScopedLanguage french(AppLanguage::fr);
    EXPECT_EQ(Format::count(0, "face"), "0 face");
    EXPECT_EQ(Format::count(1, "arête"), "1 arête");
    EXPECT_EQ(Format::count(2, "arête"), "2 arêtes");
    EXPECT_EQ(Format::count(1234, "face"), "1\u202F234 faces");
    EXPECT_EQ(Format::count(-1500, "face"), "-1\u202F500 face");
}

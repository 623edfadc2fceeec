#include "documents/Format.h"

#include <gtest/gtest.h>

#include <limits>

#include "ScopedLanguage.h"

using namespace vistrel;
using namespace vistrel::app;

// English groups by commas and pluralises all but one; French uses a narrow no-break space and
// a decimal comma, and pluralises only above one.
TEST(FormatTest, decimalsAndCountsFollowTheLanguage) {
    const auto nbsp = [](std::string s) {
        for (size_t at; (at = s.find('_')) != std::string::npos;) s.replace(at, 1, "\u202F");
        return s;
    };
    struct Case {
        AppLanguage language;
        double value;
        const char* decimal;
        int64_t count;
        const char* counted;
    } cases[] = {
        {AppLanguage::en, 2.5, "2.5", 0, "0 faces"},
        {AppLanguage::en, 1234.56, "1,234.6", 1, "1 face"},
        {AppLanguage::en, -12.34, "-12.3", 1234567, "1,234,567 faces"},
        {AppLanguage::en, -0.04, "0.0", 2, "2 faces"},
        {AppLanguage::en, std::numeric_limits<double>::infinity(), "inf", 999, "999 faces"},
        {AppLanguage::fr, 2.5, "2,5", 0, "0 face"},
        {AppLanguage::fr, 1234.56, "1_234,6", 2, "2 faces"},
        {AppLanguage::fr, 1234567.0, "1_234_567,0", 1234, "1_234 faces"},
        {AppLanguage::fr, 1.0, "1,0", -1500, "-1_500 face"},
    };
    for (const Case& c : cases) {
        test::ScopedLanguage language(c.language);
        EXPECT_EQ(Format::decimal(c.value), nbsp(c.decimal)) << c.value;
        EXPECT_EQ(Format::count(c.count, "face"), nbsp(c.counted)) << c.count;
    }
    test::ScopedLanguage french(AppLanguage::fr);
    EXPECT_EQ(Format::decimal(2.5f), "2,5") << "floats too";
}

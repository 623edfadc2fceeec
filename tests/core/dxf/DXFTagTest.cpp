#include "dxf/DXFTag.h"

#include <gtest/gtest.h>

#include <charconv>
#include <cmath>
#include <random>
#include <string>

#include "dxf/DXFTagReader.h"

using namespace vistrel;

TEST(DXFTag, numbersParseLocaleFreeWithDefaultsForJunk) {
    const std::pair<const char*, double> doubles[] = {
        {"1.5", 1.5},        {"-0.25", -0.25}, {".5", 0.5}, {"1.", 1}, {"+2", 2},   {"1e3", 1000},
        {"-1.5E-2", -0.015}, {"1,5", -7},      {"", -7},    {"-", -7}, {"abc", -7}, {"1.5x", -7}};
    for (auto [text, expected] : doubles)
        EXPECT_EQ(DXFTag{.text = text}.asDouble(-7), expected) << text;
    EXPECT_EQ(DXFTag{.text = "12345678901234567.5"}.asDouble(-7), 12345678901234567.5);
    // A flag is a whole number or nothing.
    const std::pair<const char*, int> ints[] = {
        {"42", 42}, {"+42", 42}, {"-3", -3}, {"1.0", -1}, {"99999999999", -1}};
    for (auto [text, expected] : ints) EXPECT_EQ(DXFTag{.text = text}.asInt(-1), expected) << text;
}

// The short-decimal shortcut must round exactly as a full parser does.
TEST(DXFTag, shortDecimalsRoundLikeAFullParser) {
    std::mt19937_64 rng(7);
    for (int i = 0; i < 200000; ++i) {
        uint64_t digits = rng() % 1'000'000'000'000'000ull;  // up to 15 digits
        int decimals = int(rng() % 16);
        std::string s = std::to_string(digits);
        if (decimals > 0) {
            if (int(s.size()) <= decimals) s.insert(0, size_t(decimals + 1 - int(s.size())), '0');
            s.insert(s.size() - size_t(decimals), ".");
        }
        if (rng() & 1) s.insert(0, "-");
        double expected = 0;
        std::from_chars(s.data(), s.data() + s.size(), expected);
        ASSERT_EQ(DXFTag{.text = s}.asDouble(NAN), expected) << s;
    }
}

TEST(DXFTagReader, pairsLinesAndPushBack) {
    const std::string text = "  0\r\nSECTION  \r\nx\ry\n 2\n\tENTITIES\n0";
    std::span<const uint8_t> bytes(reinterpret_cast<const uint8_t*>(text.data()), text.size());
    DXFTagReader r(bytes);
    EXPECT_FALSE(r.isBinary());
    DXFTag t;
    ASSERT_TRUE(r.read(t));
    EXPECT_EQ(std::pair(t.code, t.text), std::pair(0, std::string_view("SECTION")));
    ASSERT_TRUE(r.read(t));  // "x" is no code: the pair (x, y) is skipped
    EXPECT_EQ(std::pair(t.code, t.text), std::pair(2, std::string_view("ENTITIES")));
    EXPECT_EQ(r.pairsRead(), 3);
    r.pushBack(t);
    DXFTag again;
    ASSERT_TRUE(r.read(again));
    EXPECT_EQ(again.text, "ENTITIES");
    EXPECT_FALSE(r.read(t));  // the last line has no partner
}

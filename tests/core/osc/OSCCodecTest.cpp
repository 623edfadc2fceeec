#include "osc/OSCCodec.h"

#include <gtest/gtest.h>

#include <bit>
#include <cmath>
#include <limits>
#include <string>

using namespace vistrel;
using namespace std::string_literals;
using OSCCodec::decode;
using OSCCodec::Message;
using OSCCodec::Value;

namespace {

using Bytes = std::vector<uint8_t>;

// Builds packets by hand, independently of encode.
struct Packet {
    Bytes bytes;
    Packet& raw(std::string_view s) {
        bytes.insert(bytes.end(), s.begin(), s.end());
        return *this;
    }
    Packet& str(std::string_view s) {
        raw(s);
        do bytes.push_back(0);
        while (bytes.size() % 4);
        return *this;
    }
    Packet& u32(uint32_t v) {
        for (int shift = 24; shift >= 0; shift -= 8) bytes.push_back(uint8_t(v >> shift));
        return *this;
    }
    Packet& u64(uint64_t v) { return u32(uint32_t(v >> 32)).u32(uint32_t(v)); }
    Packet& f32(float f) { return u32(std::bit_cast<uint32_t>(f)); }
    Packet& f64(double d) { return u64(std::bit_cast<uint64_t>(d)); }
    Packet& element(const Bytes& e) {
        u32(uint32_t(e.size()));
        bytes.insert(bytes.end(), e.begin(), e.end());
        return *this;
    }
};

constexpr auto none = std::nullopt;
constexpr int64_t kMin = std::numeric_limits<int64_t>::min();
constexpr int64_t kMax = std::numeric_limits<int64_t>::max();
constexpr float kMinFloat = -9223372036854775808.0f;
const char* const kMaxText = "9223372036854775807";
const char* const kPastMaxText = "9223372036854775808";
const std::string kNulText("1\0", 2);
const Value bang = Value::impulse();

Packet bundle() {
    return Packet().str("#bundle").u64(1);
}

}  // namespace

TEST(OSCCodec, decodesEveryTypeTag) {
    Packet p;
    p.str("/all").str(",ihhhfdsSTFNI").u32(uint32_t(-7)).u64(5000000000);
    p.u64(uint64_t(-5000000000)).u64(42).f32(1.5f).f64(0.1).str("text").str("sym");
    const std::vector<Value> expected = {-7,     INT32_MAX, INT32_MIN, 42,    1.5f, float(0.1),
                                         "text", "sym",     true,      false, bang, bang};
    EXPECT_EQ(decode(p.bytes), (std::vector<Message>{{"/all", expected}}));
}

// Outside bytes: whatever can be read is kept, the rest falls away without an error.
TEST(OSCCodec, malformedPacketsYieldWhatCanBeRead) {
    const Bytes a = Packet().str("/a").str(",i").u32(1).bytes;
    const Message ma{"/a", {1}};
    const std::tuple<const char*, Bytes, std::vector<Message>> cases[] = {
        {"only the int payload", Packet().str("/a").str(",ifs").u32(3).bytes, {{"/a", {3}}}},
        {"truncated int, then a string from its bytes",
         Packet().str("/a").str(",Tis").raw("ab").bytes,
         {{"/a", {true, "ab"}}}},
        {"no room for h, room for i", Packet().str("/a").str(",hi").u32(9).bytes, {{"/a", {9}}}},
        {"unpadded string at the end",
         Packet().str("/a").str(",sT").raw("abcd").bytes,
         {{"/a", {"abcd", true}}}},
        {"string without its padding",
         Packet().str("/a").str(",si").raw("abc").raw({"\0", 1}).u32(5).bytes,
         {{"/a", {"abc", 5}}}},
        // Unknown tags consume nothing: a blob's size is read as the int after it.
        {"blob", Packet().str("/a").str(",bi").u32(4).raw("wxyz").bytes, {{"/a", {4}}}},
        {"multi-byte tag", Packet().str("/a").str(",\xC3\xA9T").bytes, {{"/a", {true}}}},
        {"empty packet", {}, {}},
        {"two-byte address, then the end", Packet().raw("/a").bytes, {{"/a", {}}}},
        {"no leading slash", Packet().str("a/b").str(",i").u32(1).bytes, {}},
        {"invalid first byte", Packet().str("\xFF/a").bytes, {}},
        {"no tag string", Packet().str("/abc").bytes, {{"/abc", {}}}},
        {"tag string without comma", Packet().str("/a").str("i").u32(1).bytes, {{"/a", {}}}},
        {"short #bundle", Packet().raw("#bundle").raw(std::string(8, '\0')).bytes, {}},
        {"bundle of header and time tag only", bundle().bytes, {}},
        {"first size 0", bundle().u32(0).element(a).bytes, {}},
        {"zero size after one element", bundle().element(a).u32(0).element(a).bytes, {ma}},
        {"element longer than what remains",
         bundle().element(a).u32(100).raw("/b\0\0"s).bytes,
         {ma}},
        {"invalid element", bundle().element(Packet().str("nope").bytes).element(a).bytes, {ma}}};
    for (const auto& [name, packet, expected] : cases) EXPECT_EQ(decode(packet), expected) << name;
}

// A truncated sequence is one replacement; overlong forms and code points past U+10FFFF one per
// byte.
TEST(OSCCodec, textIsRepairedNotRejected) {
    const std::string bad = "\xEF\xBF\xBD";
    const std::pair<std::string, std::string> cases[] = {
        {"h\xC3\xA9llo", "h\xC3\xA9llo"}, {"a\xFF\x62", "a" + bad + "b"},
        {"a\xE2\x82", "a" + bad},         {"\xE2\x82\x62", bad + "b"},
        {"\xC0\xAF", bad + bad},          {"\xF4\x90\x80\x80", bad + bad + bad + bad}};
    for (const auto& [raw, text] : cases) {
        SCOPED_TRACE(raw);
        // The padding is counted from the raw bytes, so the int after the string still lines up.
        EXPECT_EQ(decode(Packet().str("/" + raw).str(",si").str(raw).u32(7).bytes),
                  (std::vector<Message>{{"/" + text, {text, 7}}}));
    }
}

TEST(OSCCodec, bundlesNestToAnyDepthInPacketOrder) {
    const Bytes a = Packet().str("/a").str(",i").u32(1).bytes;
    const Bytes b = Packet().str("/b").str(",").bytes;
    const Bytes c = Packet().str("/c").str(",T").bytes;
    const Bytes inner = bundle().element(b).element(bundle().element(c).bytes).bytes;
    const Message ma{"/a", {1}}, mb{"/b", {}}, mc{"/c", {true}};
    EXPECT_EQ(decode(bundle().element(a).element(inner).element(a).bytes),
              (std::vector<Message>{ma, mb, mc, ma}));

    // Only the first seven bytes are compared.
    Bytes otherEighth = bundle().element(a).bytes;
    otherEighth[7] = 'X';
    EXPECT_EQ(decode(otherEighth), (std::vector<Message>{ma}));

    // Nesting deep enough to exhaust the stack of a recursive walk.
    const Bytes message = Packet().str("/deep").str(",i").u32(5).bytes;
    constexpr uint32_t depth = 50000;
    Packet packet;
    for (uint32_t level = 0; level < depth; ++level)
        packet.str("#bundle").u64(1).u32(uint32_t(message.size()) + 20 * (depth - 1 - level));
    packet.bytes.insert(packet.bytes.end(), message.begin(), message.end());
    EXPECT_EQ(decode(packet.bytes), (std::vector<Message>{{"/deep", {5}}}));
}

TEST(OSCCodec, encodeWritesPaddedAddressTagsAndBigEndianPayloads) {
    EXPECT_EQ(OSCCodec::encode({"/a", {}}), (Bytes{'/', 'a', 0, 0, ',', 0, 0, 0}));

    const Message m{"/xy", {1, 1.5f, "hi", true, false, bang, "four"}};
    const Bytes expected =
        Packet().str("/xy").str(",ifsTFIs").u32(1).u32(0x3FC00000).str("hi").str("four").bytes;
    EXPECT_EQ(OSCCodec::encode(m), expected);

    // Not checked, written as it stands.
    const std::string embedded("a\0b", 3);
    EXPECT_EQ(OSCCodec::encode({"x", {embedded}}),
              (Bytes{'x', 0, 0, 0, ',', 's', 0, 0, 'a', 0, 'b', 0}));
}

// Conversions between argument kinds. Digits are ASCII only (not Arabic-Indic); spaces around
// words may be Unicode ones (no-break, ideographic) but an overlong encoding of a space is none.
TEST(OSCCodec, intValueConversions) {
    const std::pair<Value, std::optional<int64_t>> cases[] = {
        {-5, -5},      {1.5f, 2},         {0.49999997f, 0},   {"42", 42},          {"+-1", none},
        {"1.5", none}, {" 1", none},      {"\xD9\xA1", none}, {true, 1},           {bang, 1},
        {"", none},    {kMinFloat, kMin}, {kMaxText, kMax},   {kPastMaxText, none}};
    for (const auto& [value, expected] : cases) {
        SCOPED_TRACE(value.stringValue());
        EXPECT_EQ(value.intValue(), expected);
    }
    // A float without a 64-bit integer is our mistake, not the sender's.
    GTEST_FLAG_SET(death_test_style, "threadsafe");
    EXPECT_DEATH(Value(std::nanf("")).intValue(), "no 64-bit integer");
    EXPECT_DEATH(Value(9223372036854775808.0f).intValue(), "no 64-bit integer");
}

TEST(OSCCodec, floatAndDoubleValueConversions) {
    const std::pair<Value, std::optional<double>> cases[] = {
        {7, 7.0},        {0.1f, double(0.1f)}, {"1,5", 1.5},     {"1e3", 1000.0},
        {"0x10", 16.0},  {"inf", HUGE_VAL},    {"", none},       {" 1", none},
        {"1,5,0", none}, {"12abc", none},      {kNulText, none}, {true, 1.0}};
    for (const auto& [value, expected] : cases) {
        SCOPED_TRACE(value.stringValue());
        EXPECT_EQ(value.doubleValue(), expected);
        EXPECT_EQ(value.floatValue(), expected ? std::optional(float(*expected)) : none);
    }
    EXPECT_EQ(Value(16777217).floatValue(), 16777216.0f);
    EXPECT_EQ(Value("0.1").floatValue(), 0.1f);  // parsed as a float, not rounded twice
}

TEST(OSCCodec, boolAndStringValueConversions) {
    const std::pair<Value, std::optional<bool>> bools[] = {
        {0, false},     {-0.0f, false},    {std::nanf(""), true},
        {1e-40f, true}, {" OUI\n", true},  {"\xC2\xA0yes\xE3\x80\x80", true},
        {"NON", false}, {"maybe", none},   {"", none},
        {"y es", none}, {"\xFFyes", none}, {"\xE0\x80\xA0yes", none},
        {true, true}};
    for (const auto& [value, expected] : bools) {
        SCOPED_TRACE(value.stringValue());
        EXPECT_EQ(value.boolValue(), expected);
    }
    const std::pair<Value, std::string> strings[] = {{-7, "-7"},
                                                     {1.0f, "1.0"},
                                                     {0.1f, "0.1"},
                                                     {0.00001f, "1e-05"},
                                                     {-0.0f, "-0.0"},
                                                     {std::nanf(""), "nan"},
                                                     {"as is ", "as is "},
                                                     {true, "1"},
                                                     {bang, "bang"},
                                                     {16777216.0f, "16777216.0"},
                                                     {16777218.0f, "1.6777218e+07"}};
    for (const auto& [value, expected] : strings) EXPECT_EQ(value.stringValue(), expected);
}

TEST(OSCCodec, messageAccessorsAreAbsentOutOfRange) {
    const Message m{"/m", {"3", 2.5f}};
    for (int i : {-1, 2})
        EXPECT_FALSE(m.intAt(i) || m.floatAt(i) || m.doubleAt(i) || m.boolAt(i) || m.stringAt(i));
}

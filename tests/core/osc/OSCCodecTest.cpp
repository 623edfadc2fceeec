#include "osc/OSCCodec.h"

#include <gtest/gtest.h>

#include <bit>
#include <clocale>
#include <cmath>
#include <limits>
#include <string>

using namespace vistrel;
using namespace std::string_literals;
using OSCCodec::Message;
using OSCCodec::Value;

namespace vistrel::OSCCodec {
void PrintTo(const Value& v, std::ostream* os) {
    static const char* kinds[] = {"int", "float", "string", "bool", "impulse"};
    *os << kinds[int(v.kind())] << "(" << v.stringValue() << ")";
}
void PrintTo(const Message& m, std::ostream* os) {
    *os << m.address << " [";
    for (const auto& v : m.arguments) PrintTo(v, os), *os << " ";
    *os << "]";
}
}  // namespace vistrel::OSCCodec

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

Packet bundle() {
    return Packet().str("#bundle").u64(1);
}

std::vector<Message> decode(const Bytes& b) {
    return OSCCodec::decode(b);
}

}  // namespace

TEST(OSCCodec, decodesEveryTypeTag) {
    const Bytes packet = Packet()
                             .str("/all")
                             .str(",ihhhfdsSTFNI")
                             .u32(uint32_t(-7))
                             .u64(5000000000)
                             .u64(uint64_t(-5000000000))
                             .u64(42)
                             .f32(1.5f)
                             .f64(0.1)
                             .str("text")
                             .str("sym")
                             .bytes;
    const std::vector<Value> expected = {-7,
                                         std::numeric_limits<int32_t>::max(),
                                         std::numeric_limits<int32_t>::min(),
                                         42,
                                         1.5f,
                                         float(0.1),
                                         "text",
                                         "sym",
                                         true,
                                         false,
                                         Value::impulse(),
                                         Value::impulse()};
    EXPECT_EQ(decode(packet), (std::vector<Message>{{"/all", expected}}));
}

TEST(OSCCodec, tagsThatLackBytesFallAwayAndTheWalkGoesOn) {
    struct Case {
        const char* name;
        Bytes packet;
        std::vector<Value> expected;
    };
    const Case cases[] = {
        {"only the int payload", Packet().str("/a").str(",ifs").u32(3).bytes, {3}},
        {"truncated int, then a string from its bytes",
         Packet().str("/a").str(",Tis").raw("ab").bytes,
         {true, "ab"}},
        {"no room for h, room for i", Packet().str("/a").str(",hi").u32(9).bytes, {9}},
        {"no room for d, room for f", Packet().str("/a").str(",df").f32(2.0f).bytes, {2.0f}},
        {"unpadded string at the end",
         Packet().str("/a").str(",sT").raw("abcd").bytes,
         {"abcd", true}},
        {"string at the very end", Packet().str("/a").str(",sFI").bytes, {false, Value::impulse()}},
        {"string without its padding",
         Packet().str("/a").str(",si").raw("abc").raw({"\0", 1}).u32(5).bytes,
         {"abc", 5}},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.name);
        EXPECT_EQ(decode(c.packet), (std::vector<Message>{{"/a", c.expected}}));
    }
}

TEST(OSCCodec, unknownTagsConsumeNoPayload) {
    // A blob's size field is read as the int that follows it; a char tag likewise.
    EXPECT_EQ(decode(Packet().str("/a").str(",bi").u32(4).raw("wxyz").bytes),
              (std::vector<Message>{{"/a", {4}}}));
    EXPECT_EQ(decode(Packet().str("/a").str(",cit").u32('x').bytes),
              (std::vector<Message>{{"/a", {'x'}}}));
    // A multi-byte character among the tags is unknown too.
    EXPECT_EQ(decode(Packet().str("/a").str(",\xC3\xA9T").bytes),
              (std::vector<Message>{{"/a", {true}}}));
}

TEST(OSCCodec, addressAndTagStringRules) {
    struct Case {
        const char* name;
        Bytes packet;
        std::vector<Message> expected;
    };
    const Case cases[] = {
        {"empty packet", {}, {}},
        {"two-byte address, then the end", Packet().raw("/a").bytes, {{"/a", {}}}},
        {"single slash", Packet().str("/").bytes, {{"/", {}}}},
        {"no leading slash", Packet().str("a/b").str(",i").u32(1).bytes, {}},
        {"empty address", Packet().str("").str(",i").u32(1).bytes, {}},
        {"invalid first byte", Packet().str("\xFF/a").bytes, {}},
        {"no tag string", Packet().str("/abc").bytes, {{"/abc", {}}}},
        {"tag string without comma", Packet().str("/a").str("i").u32(1).bytes, {{"/a", {}}}},
        {"comma only", Packet().str("/a").str(",").bytes, {{"/a", {}}}},
        {"short #bundle is a message", Packet().raw("#bundle").raw(std::string(8, '\0')).bytes, {}},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.name);
        EXPECT_EQ(decode(c.packet), c.expected);
    }
}

TEST(OSCCodec, textIsRepairedNotRejected) {
    struct Case {
        std::string raw;
        std::string text;
    };
    const std::string bad = "\xEF\xBF\xBD";
    const Case cases[] = {
        {"h\xC3\xA9llo", "h\xC3\xA9llo"},
        {"\xF0\x9F\x98\x80", "\xF0\x9F\x98\x80"},
        {"a\xFF"
         "b",
         "a" + bad + "b"},
        {"a\xE2\x82", "a" + bad},  // truncated sequence: one replacement
        {"\xE2\x82"
         "b",
         bad + "b"},
        {"\xC0\xAF", bad + bad},                      // overlong
        {"\xED\xA0\x80", bad + bad + bad},            // surrogate
        {"\xF4\x90\x80\x80", bad + bad + bad + bad},  // past U+10FFFF
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.raw);
        // The padding is counted from the raw bytes, so the int after the string still lines up.
        const auto messages = decode(Packet().str("/" + c.raw).str(",si").str(c.raw).u32(7).bytes);
        ASSERT_EQ(messages.size(), 1u);
        EXPECT_EQ(messages[0].address, "/" + c.text);
        EXPECT_EQ(messages[0].arguments, (std::vector<Value>{c.text, 7}));
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
}

TEST(OSCCodec, bundleWalkStopsAtZeroSizeTruncationOrEnd) {
    const Bytes a = Packet().str("/a").str(",i").u32(1).bytes;
    const Bytes garbage = Packet().str("nope").bytes;
    const Message ma{"/a", {1}};
    struct Case {
        const char* name;
        Bytes packet;
        std::vector<Message> expected;
    };
    const Case cases[] = {
        {"header and time tag only", bundle().bytes, {}},
        {"under 20 bytes", bundle().raw("\0\0\0"s).bytes, {}},
        {"first size 0", bundle().u32(0).element(a).bytes, {}},
        {"zero size after one element", bundle().element(a).u32(0).element(a).bytes, {ma}},
        {"second element longer than what remains",
         bundle().element(a).u32(100).raw("/b\0\0,\0\0\0"s).bytes,
         {ma}},
        {"size field cut short", bundle().element(a).raw("\0\0"s).bytes, {ma}},
        {"invalid element contributes nothing", bundle().element(garbage).element(a).bytes, {ma}},
        {"empty element is size 0", bundle().element({}).element(a).bytes, {}},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.name);
        EXPECT_EQ(decode(c.packet), c.expected);
    }
}

TEST(OSCCodec, deeplyNestedBundlesDoNotExhaustTheStack) {
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

    const Message m{"/xy", {1, 1.5f, "hi", true, false, Value::impulse(), "four"}};
    const Bytes expected =
        Packet().str("/xy").str(",ifsTFIs").u32(1).u32(0x3FC00000).str("hi").str("four").bytes;
    EXPECT_EQ(OSCCodec::encode(m), expected);
    EXPECT_EQ(decode(expected), (std::vector<Message>{m}));

    // Not checked, written as it stands.
    const std::string embedded("a\0b", 3);
    EXPECT_EQ(OSCCodec::encode({"x", {embedded}}),
              (Bytes{'x', 0, 0, 0, ',', 's', 0, 0, 'a', 0, 'b', 0}));
}

TEST(OSCCodec, intValueConversions) {
    struct Case {
        Value value;
        std::optional<int64_t> expected;
    };
    const Case cases[] = {
        {-5, -5},
        {1.5f, 2},
        {2.5f, 3},
        {0.49999997f, 0},
        {-0.0f, 0},
        {-9223372036854775808.0f, std::numeric_limits<int64_t>::min()},
        {"42", 42},
        {"-0", 0},
        {"9223372036854775807", std::numeric_limits<int64_t>::max()},
        {"-9223372036854775808", std::numeric_limits<int64_t>::min()},
        {"9223372036854775808", std::nullopt},
        {"-9223372036854775809", std::nullopt},
        {"", std::nullopt},
        {"+", std::nullopt},
        {"+-1", std::nullopt},
        {"1.5", std::nullopt},
        {" 1", std::nullopt},
        {"1e3", std::nullopt},
        {"\xD9\xA1", std::nullopt},  // Arabic-Indic one
        {true, 1},
        {false, 0},
        {Value::impulse(), 1},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.value.stringValue());
        EXPECT_EQ(c.value.intValue(), c.expected);
    }
}

TEST(OSCCodec, intValueOfAFloatWithoutIntegerIsFatal) {
    GTEST_FLAG_SET(death_test_style, "threadsafe");
    EXPECT_DEATH(Value(std::nanf("")).intValue(), "no 64-bit integer");
    EXPECT_DEATH(Value(std::numeric_limits<float>::infinity()).intValue(), "no 64-bit integer");
    EXPECT_DEATH(Value(9223372036854775808.0f).intValue(), "no 64-bit integer");
    EXPECT_DEATH(Value(-1e19f).intValue(), "no 64-bit integer");
}

TEST(OSCCodec, floatAndDoubleValueConversions) {
    struct Case {
        Value value;
        std::optional<double> expected;
    };
    const Case cases[] = {
        {7, 7.0},
        {0.1f, double(0.1f)},
        {"1,5", 1.5},
        {"1.5", 1.5},
        {"+2", 2.0},
        {"1e3", 1000.0},
        {"0x10", 16.0},
        {"0x1p-2", 0.25},
        {"inf", HUGE_VAL},
        {"", std::nullopt},
        {" 1", std::nullopt},
        {"1 ", std::nullopt},
        {"1,5,0", std::nullopt},
        {"12abc", std::nullopt},
        {std::string("1\0", 2), std::nullopt},
        {true, 1.0},
        {Value::impulse(), 1.0},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.value.stringValue());
        EXPECT_EQ(c.value.doubleValue(), c.expected);
        EXPECT_EQ(c.value.floatValue(),
                  c.expected ? std::optional(float(*c.expected)) : std::nullopt);
    }
    EXPECT_EQ(Value(16777217).floatValue(), 16777216.0f);
    EXPECT_EQ(Value(16777217).doubleValue(), 16777217.0);
    EXPECT_EQ(Value("1e300").floatValue(), std::numeric_limits<float>::infinity());
    EXPECT_EQ(Value("0.1").floatValue(), 0.1f);
}

TEST(OSCCodec, numberTextIgnoresTheProcessLocale) {
    const char* old = std::setlocale(LC_NUMERIC, nullptr);
    const std::string saved = old ? old : "C";
    if (!std::setlocale(LC_NUMERIC, "fr_FR.UTF-8")) GTEST_SKIP() << "no French locale";
    const auto dotted = Value("1.5").doubleValue();
    const auto comma = Value("2,25").doubleValue();
    std::setlocale(LC_NUMERIC, saved.c_str());
    EXPECT_EQ(dotted, 1.5);
    EXPECT_EQ(comma, 2.25);
}

TEST(OSCCodec, boolValueConversions) {
    struct Case {
        Value value;
        std::optional<bool> expected;
    };
    const Case cases[] = {
        {0, false},
        {0.0f, false},
        {-0.0f, false},
        {std::nanf(""), true},
        {1e-40f, true},
        {" OUI\n", true},
        {"on", true},
        {"\xC2\xA0yes\xE3\x80\x80", true},  // no-break space, ideographic space
        {"NON", false},
        {"off\t", false},
        {"false", false},
        {"maybe", std::nullopt},
        {"", std::nullopt},
        {"y es", std::nullopt},
        {"2", std::nullopt},
        {"\xFFyes", std::nullopt},
        {"\xE0\x80\xA0yes", std::nullopt},  // an overlong space is no space
        {true, true},
        {Value::impulse(), true},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.value.stringValue());
        EXPECT_EQ(c.value.boolValue(), c.expected);
    }
}

TEST(OSCCodec, stringValueConversions) {
    struct Case {
        Value value;
        std::string expected;
    };
    const Case cases[] = {
        {-7, "-7"},
        {1.0f, "1.0"},
        {0.1f, "0.1"},
        {123.456f, "123.456"},
        {0.00001f, "1e-05"},
        {16777216.0f, "16777216.0"},
        {16777218.0f, "1.6777218e+07"},
        {1e10f, "1e+10"},
        {-0.0f, "-0.0"},
        {std::nanf(""), "nan"},
        {-std::numeric_limits<float>::infinity(), "-inf"},
        {"as is ", "as is "},
        {true, "1"},
        {false, "0"},
        {Value::impulse(), "bang"},
    };
    for (const auto& c : cases) EXPECT_EQ(c.value.stringValue(), c.expected);
}

TEST(OSCCodec, messageAccessorsAreAbsentOutOfRange) {
    const Message m{"/m", {"3", 2.5f}};
    EXPECT_EQ(m.intAt(0), 3);
    EXPECT_EQ(m.stringAt(1), "2.5");
    for (int i : {-1, 2})
        EXPECT_FALSE(m.intAt(i) || m.floatAt(i) || m.doubleAt(i) || m.boolAt(i) || m.stringAt(i));
}

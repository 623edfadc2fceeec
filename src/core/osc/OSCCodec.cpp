#include "osc/OSCCodec.h"

#include <locale.h>

#include <algorithm>
#include <bit>
#include <charconv>
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <limits>
#include <string_view>

namespace vistrel::OSCCodec {

namespace {

using Bytes = std::span<const uint8_t>;

uint32_t readUInt32(const uint8_t* p) {
    return (uint32_t(p[0]) << 24) | (uint32_t(p[1]) << 16) | (uint32_t(p[2]) << 8) | p[3];
}

uint64_t readUInt64(const uint8_t* p) {
    return (uint64_t(readUInt32(p)) << 32) | readUInt32(p + 4);
}

void appendUInt32(std::vector<uint8_t>& out, uint32_t v) {
    out.insert(out.end(), {uint8_t(v >> 24), uint8_t(v >> 16), uint8_t(v >> 8), uint8_t(v)});
}

// At least one NUL, then NULs up to a multiple of four.
void padWithNuls(std::vector<uint8_t>& out) {
    out.push_back(0);
    while (out.size() % 4 != 0) out.push_back(0);
}

void appendPadded(std::vector<uint8_t>& out, std::string_view text) {
    out.insert(out.end(), text.begin(), text.end());
    padWithNuls(out);
}

// Double to float as IEEE does it: out-of-range values become infinities rather than UB.
float narrow(double d) {
    if (std::isfinite(d) && std::fabs(d) > double(std::numeric_limits<float>::max())) {
        // Beyond the largest float by at least half an ulp rounds to infinity; closer rounds
        // down to the largest float.
        const double limit = double(std::numeric_limits<float>::max()) + std::ldexp(1.0, 103);
        float big = std::fabs(d) >= limit ? std::numeric_limits<float>::infinity()
                                          : std::numeric_limits<float>::max();
        return d < 0 ? -big : big;
    }
    return static_cast<float>(d);
}

void appendReplacement(std::string& out) {
    out.append("\xEF\xBF\xBD");
}

// Each maximal ill-formed subpart becomes one U+FFFD, as Unicode recommends.
std::string repairedUTF8(Bytes bytes) {
    const uint8_t* p = bytes.data();
    const size_t n = bytes.size();
    size_t i = 0;
    while (i < n && p[i] < 0x80) ++i;
    if (i == n) return std::string(reinterpret_cast<const char*>(p), n);

    std::string out(reinterpret_cast<const char*>(p), i);
    out.reserve(n + 8);
    while (i < n) {
        const uint8_t b = p[i];
        if (b < 0x80) {
            out.push_back(char(b));
            ++i;
            continue;
        }
        int need;
        uint8_t lo = 0x80, hi = 0xBF;
        if (b >= 0xC2 && b <= 0xDF) {
            need = 1;
        } else if (b == 0xE0) {
            need = 2, lo = 0xA0;
        } else if (b == 0xED) {
            need = 2, hi = 0x9F;  // no surrogates
        } else if (b >= 0xE1 && b <= 0xEF) {
            need = 2;
        } else if (b == 0xF0) {
            need = 3, lo = 0x90;
        } else if (b >= 0xF1 && b <= 0xF3) {
            need = 3;
        } else if (b == 0xF4) {
            need = 3, hi = 0x8F;  // nothing past U+10FFFF
        } else {
            appendReplacement(out);
            ++i;
            continue;
        }
        size_t j = i + 1;
        int got = 0;
        while (got < need && j < n && p[j] >= lo && p[j] <= hi) {
            lo = 0x80, hi = 0xBF;
            ++j, ++got;
        }
        if (got == need)
            out.append(reinterpret_cast<const char*>(p + i), j - i);
        else
            appendReplacement(out);
        i = j;
    }
    return out;
}

// The bytes of the string at index, up to its NUL or the end; index moves past the string and
// its padding, counted from the string's own start, but never past the end.
std::optional<Bytes> readPaddedString(Bytes bytes, size_t& index) {
    if (index >= bytes.size()) return std::nullopt;
    const uint8_t* start = bytes.data() + index;
    const size_t remaining = bytes.size() - index;
    const void* nul = std::memchr(start, 0, remaining);
    const size_t n = nul ? size_t(static_cast<const uint8_t*>(nul) - start) : remaining;
    index = std::min(index + ((n + 4) & ~size_t(3)), bytes.size());
    return Bytes(start, n);
}

void decodeMessage(Bytes bytes, std::vector<Message>& out) {
    size_t index = 0;
    const auto address = readPaddedString(bytes, index);
    if (!address || address->empty() || (*address)[0] != '/') return;
    Message& message = out.emplace_back();
    message.address = repairedUTF8(*address);

    // Tags are ASCII: a byte of a multi-byte character is an unknown tag either way, so the
    // tag string needs no repair.
    const auto tags = readPaddedString(bytes, index);
    if (!tags || tags->empty() || (*tags)[0] != ',') return;
    message.arguments.reserve(std::min<size_t>(tags->size() - 1, 64));
    const size_t size = bytes.size();
    const uint8_t* data = bytes.data();
    auto& args = message.arguments;
    for (size_t t = 1; t < tags->size(); ++t) {
        switch ((*tags)[t]) {
            case 'i':
                if (size - index >= 4) {
                    args.emplace_back(int32_t(readUInt32(data + index)));
                    index += 4;
                }
                break;
            case 'h':
                if (size - index >= 8) {
                    const auto v = int64_t(readUInt64(data + index));
                    args.emplace_back(
                        int32_t(std::clamp<int64_t>(v, std::numeric_limits<int32_t>::min(),
                                                    std::numeric_limits<int32_t>::max())));
                    index += 8;
                }
                break;
            case 'f':
                if (size - index >= 4) {
                    args.emplace_back(std::bit_cast<float>(readUInt32(data + index)));
                    index += 4;
                }
                break;
            case 'd':
                if (size - index >= 8) {
                    args.emplace_back(narrow(std::bit_cast<double>(readUInt64(data + index))));
                    index += 8;
                }
                break;
            case 's':
            case 'S':
                if (const auto text = readPaddedString(bytes, index))
                    args.emplace_back(repairedUTF8(*text));
                break;
            case 'T':
                args.emplace_back(true);
                break;
            case 'F':
                args.emplace_back(false);
                break;
            case 'I':
            case 'N':
                args.push_back(Value::impulse());
                break;
            default:
                // Unknown tags (blobs, time tags, chars...) consume nothing, by contract.
                break;
        }
    }
}

struct OpenBundle {
    Bytes bytes;
    size_t sizeAt;
};

void decodePacket(Bytes packet, std::vector<Message>& out, std::vector<OpenBundle>& bundles) {
    if (packet.empty()) return;
    if (packet.size() >= 16 && std::memcmp(packet.data(), "#bundle", 7) == 0) {
        // Header and time tag are passed over; the first element size sits at 16.
        if (packet.size() >= 20) bundles.push_back({packet, 16});
        return;
    }
    decodeMessage(packet, out);
}

// Unicode white space and newlines, as trimmed around a word.
bool isWhitespace(char32_t c) {
    return (c >= 0x09 && c <= 0x0D) || c == 0x20 || c == 0x85 || c == 0xA0 || c == 0x1680 ||
           (c >= 0x2000 && c <= 0x200A) || c == 0x2028 || c == 0x2029 || c == 0x202F ||
           c == 0x205F || c == 0x3000;
}

// The code point of a well-formed sequence starting at s[i], with its length; 0 length when
// the bytes there are not one.
char32_t codePointAt(std::string_view s, size_t i, size_t& length) {
    const auto b = uint8_t(s[i]);
    length = 0;
    size_t n;
    char32_t c;
    if (b < 0x80) {
        length = 1;
        return b;
    } else if (b >= 0xC2 && b <= 0xDF) {
        n = 2, c = b & 0x1F;
    } else if (b >= 0xE0 && b <= 0xEF) {
        n = 3, c = b & 0x0F;
    } else if (b >= 0xF0 && b <= 0xF4) {
        n = 4, c = b & 0x07;
    } else {
        return 0;
    }
    if (i + n > s.size()) return 0;
    for (size_t k = 1; k < n; ++k) {
        const auto cb = uint8_t(s[i + k]);
        if ((cb & 0xC0) != 0x80) return 0;
        c = (c << 6) | (cb & 0x3F);
    }
    // Overlong forms, surrogates and values past U+10FFFF are not code points.
    static constexpr char32_t smallest[] = {0, 0, 0x80, 0x800, 0x10000};
    if (c < smallest[n] || (c >= 0xD800 && c <= 0xDFFF) || c > 0x10FFFF) return 0;
    length = n;
    return c;
}

std::string_view trimmed(std::string_view s) {
    size_t len;
    while (!s.empty() && isWhitespace(codePointAt(s, 0, len)) && len > 0) s.remove_prefix(len);
    while (!s.empty()) {
        size_t start = s.size() - 1;
        while (start > 0 && s.size() - start < 4 && (uint8_t(s[start]) & 0xC0) == 0x80) --start;
        const char32_t c = codePointAt(s, start, len);
        if (len == 0 || start + len != s.size() || !isWhitespace(c)) break;
        s.remove_suffix(len);
    }
    return s;
}

std::optional<bool> parseSwitch(std::string_view text) {
    const std::string_view word = trimmed(text);
    // Every accepted word is ASCII of at most five letters; nothing else can lower-case to one.
    if (word.empty() || word.size() > 5) return std::nullopt;
    char lower[5];
    for (size_t i = 0; i < word.size(); ++i) {
        const auto c = uint8_t(word[i]);
        if (c >= 0x80) return std::nullopt;
        lower[i] = char(c >= 'A' && c <= 'Z' ? c + 32 : c);
    }
    const std::string_view w(lower, word.size());
    if (w == "1" || w == "true" || w == "on" || w == "yes" || w == "oui") return true;
    if (w == "0" || w == "false" || w == "off" || w == "no" || w == "non") return false;
    return std::nullopt;
}

std::optional<int64_t> parseInteger(std::string_view s) {
    size_t i = 0;
    bool negative = false;
    if (i < s.size() && (s[i] == '+' || s[i] == '-')) negative = s[i++] == '-';
    if (i == s.size()) return std::nullopt;
    const uint64_t limit = negative ? uint64_t(1) << 63 : (uint64_t(1) << 63) - 1;
    uint64_t acc = 0;
    for (; i < s.size(); ++i) {
        if (s[i] < '0' || s[i] > '9') return std::nullopt;
        const unsigned digit = unsigned(s[i] - '0');
        if (acc > (limit - digit) / 10) return std::nullopt;
        acc = acc * 10 + digit;
    }
    return negative ? int64_t(0 - acc) : int64_t(acc);
}

locale_t cLocale() {
    static const locale_t locale = newlocale(LC_ALL_MASK, "C", locale_t(0));
    return locale;
}

std::optional<double> parseDouble(const std::string& text) {
    if (text.empty()) return std::nullopt;
    const auto first = uint8_t(text[0]);
    // strtod would skip leading white space; the whole text must be the number.
    if (first == ' ' || (first >= '\t' && first <= '\r')) return std::nullopt;
    if (text.find('\0') != std::string::npos) return std::nullopt;
    std::string dotted;
    const char* begin = text.c_str();
    if (text.find(',') != std::string::npos) {
        dotted = text;
        std::replace(dotted.begin(), dotted.end(), ',', '.');
        begin = dotted.c_str();
    }
    char* end = nullptr;
    const double d = strtod_l(begin, &end, cLocale());
    if (end != begin + text.size()) return std::nullopt;
    return d;
}

// Shortest digits that read back as the same float; plain notation with at least one
// fractional digit ("1.0", "0.001"), exponential below 1e-4 and above 2^24 ("1e-05").
std::string describeFloat(float f) {
    if (std::isnan(f)) return "nan";
    if (std::isinf(f)) return f < 0 ? "-inf" : "inf";
    if (f == 0) return std::signbit(f) ? "-0.0" : "0.0";

    char buf[32];
    const auto result = std::to_chars(buf, buf + sizeof buf, std::fabs(f),
                                      std::chars_format::scientific);  // "d.ddde±XX"
    const std::string_view sci(buf, size_t(result.ptr - buf));
    const size_t e = sci.find('e');
    std::string digits(1, sci[0]);
    if (e > 1) digits.append(sci.substr(2, e - 2));
    int exponent = 0;
    std::from_chars(sci.data() + e + 2, sci.data() + sci.size(), exponent);
    if (sci[e + 1] == '-') exponent = -exponent;

    std::string out = f < 0 ? "-" : "";
    const auto count = int(digits.size());
    if (exponent < -4 || std::fabs(f) > 16777216.0f) {
        out += digits[0];
        if (count > 1) out.append(".").append(digits, 1);
        out += exponent < 0 ? "e-" : "e+";
        const int magnitude = std::abs(exponent);
        if (magnitude < 10) out += '0';
        out += std::to_string(magnitude);
    } else if (exponent < 0) {
        out.append("0.").append(size_t(-exponent - 1), '0').append(digits);
    } else if (exponent + 1 < count) {
        out.append(digits, 0, size_t(exponent + 1))
            .append(".")
            .append(digits, size_t(exponent + 1));
    } else {
        out.append(digits).append(size_t(exponent + 1 - count), '0').append(".0");
    }
    return out;
}

[[noreturn]] void fatalIntegerConversion(float f) {
    std::fprintf(stderr, "OSCCodec: the float %g has no 64-bit integer value\n", double(f));
    std::abort();
}

template <class... F>
struct Overloaded : F... {
    using F::operator()...;
};
template <class... F>
Overloaded(F...) -> Overloaded<F...>;

}  // namespace

std::optional<int64_t> Value::intValue() const {
    return std::visit(
        Overloaded{
            [](int32_t v) -> std::optional<int64_t> { return v; },
            [](float v) -> std::optional<int64_t> {
                const float r = std::round(v);  // halves away from zero
                // -2^63 is a float and fits; 2^63 is a float and does not.
                if (!std::isfinite(r) || r < -9223372036854775808.0f || r >= 9223372036854775808.0f)
                    fatalIntegerConversion(v);
                return int64_t(r);
            },
            [](const std::string& v) { return parseInteger(v); },
            [](bool v) -> std::optional<int64_t> { return v ? 1 : 0; },
            [](Impulse) -> std::optional<int64_t> { return 1; },
        },
        payload_);
}

std::optional<double> Value::doubleValue() const {
    return std::visit(Overloaded{
                          [](int32_t v) -> std::optional<double> { return v; },
                          [](float v) -> std::optional<double> { return v; },
                          [](const std::string& v) { return parseDouble(v); },
                          [](bool v) -> std::optional<double> { return v ? 1.0 : 0.0; },
                          [](Impulse) -> std::optional<double> { return 1.0; },
                      },
                      payload_);
}

std::optional<float> Value::floatValue() const {
    if (const auto* v = std::get_if<int32_t>(&payload_)) return float(*v);
    if (const auto* v = std::get_if<float>(&payload_)) return *v;
    if (const auto d = doubleValue()) return narrow(*d);
    return std::nullopt;
}

std::optional<bool> Value::boolValue() const {
    return std::visit(Overloaded{
                          [](int32_t v) -> std::optional<bool> { return v != 0; },
                          // NaN is true; both zeros are false.
                          [](float v) -> std::optional<bool> { return v != 0.0f; },
                          [](const std::string& v) { return parseSwitch(v); },
                          [](bool v) -> std::optional<bool> { return v; },
                          [](Impulse) -> std::optional<bool> { return true; },
                      },
                      payload_);
}

std::string Value::stringValue() const {
    return std::visit(Overloaded{
                          [](int32_t v) { return std::to_string(v); },
                          [](float v) { return describeFloat(v); },
                          [](const std::string& v) { return v; },
                          [](bool v) { return std::string(v ? "1" : "0"); },
                          [](Impulse) { return std::string("bang"); },
                      },
                      payload_);
}

namespace {
const Value* argument(const std::vector<Value>& arguments, int index) {
    if (index < 0 || size_t(index) >= arguments.size()) return nullptr;
    return &arguments[size_t(index)];
}
}  // namespace

std::optional<int64_t> Message::intAt(int index) const {
    const Value* v = argument(arguments, index);
    return v ? v->intValue() : std::nullopt;
}

std::optional<float> Message::floatAt(int index) const {
    const Value* v = argument(arguments, index);
    return v ? v->floatValue() : std::nullopt;
}

std::optional<double> Message::doubleAt(int index) const {
    const Value* v = argument(arguments, index);
    return v ? v->doubleValue() : std::nullopt;
}

std::optional<bool> Message::boolAt(int index) const {
    const Value* v = argument(arguments, index);
    return v ? v->boolValue() : std::nullopt;
}

std::optional<std::string> Message::stringAt(int index) const {
    const Value* v = argument(arguments, index);
    return v ? std::optional(v->stringValue()) : std::nullopt;
}

std::vector<Message> decode(std::span<const uint8_t> packet) {
    std::vector<Message> messages;
    // Bundles are walked with an explicit stack so that deep nesting cannot exhaust the
    // thread's stack; a plain message never allocates it.
    std::vector<OpenBundle> bundles;
    decodePacket(packet, messages, bundles);
    while (!bundles.empty()) {
        OpenBundle& bundle = bundles.back();
        const size_t sizeAt = bundle.sizeAt;
        const size_t bodyAt = sizeAt + 4;
        if (bodyAt > bundle.bytes.size()) {
            bundles.pop_back();
            continue;
        }
        const uint32_t size = readUInt32(bundle.bytes.data() + sizeAt);
        // A zero size ends the walk; a truncated element is dropped whole.
        if (size == 0 || bodyAt + size > bundle.bytes.size()) {
            bundles.pop_back();
            continue;
        }
        bundle.sizeAt = bodyAt + size;
        const Bytes element = bundle.bytes.subspan(bodyAt, size);
        decodePacket(element, messages, bundles);  // may push, invalidating `bundle`
    }
    return messages;
}

std::vector<uint8_t> encode(const Message& message) {
    size_t payload = 0;
    for (const Value& v : message.arguments) {
        const auto* text = std::get_if<std::string>(&v.payload_);
        payload += text ? text->size() + 4 : 4;
    }
    std::vector<uint8_t> out;
    out.reserve(message.address.size() + message.arguments.size() + 8 + payload);
    appendPadded(out, message.address);

    out.push_back(',');
    for (const Value& v : message.arguments) {
        out.push_back(std::visit(Overloaded{
                                     [](int32_t) { return 'i'; },
                                     [](float) { return 'f'; },
                                     [](const std::string&) { return 's'; },
                                     [](bool b) { return b ? 'T' : 'F'; },
                                     [](Value::Impulse) { return 'I'; },
                                 },
                                 v.payload_));
    }
    padWithNuls(out);

    for (const Value& v : message.arguments) {
        std::visit(Overloaded{
                       [&](int32_t i) { appendUInt32(out, uint32_t(i)); },
                       [&](float f) { appendUInt32(out, std::bit_cast<uint32_t>(f)); },
                       [&](const std::string& s) { appendPadded(out, s); },
                       [](bool) {},
                       [](Value::Impulse) {},
                   },
                   v.payload_);
    }
    return out;
}

}  // namespace vistrel::OSCCodec

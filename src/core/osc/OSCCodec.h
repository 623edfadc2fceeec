// OSC 1.0 messages to and from bytes, forgiving by design: a bad packet yields fewer messages or
// fewer arguments, never an error. Stateless; safe from any thread.
#pragma once

#include <cstdint>
#include <optional>
#include <span>
#include <string>
#include <variant>
#include <vector>

namespace vistrel::OSCCodec {

struct Message;

// One argument. Exactly five cases, in this order; two values are equal only when case and
// payload are equal (int 1 is not float 1.0). The conversions are how every address handler
// reads an argument: "1,5" as text is a number, "oui" is a switch, an impulse is 1 and true.
class Value {
  public:
    enum class Kind : uint8_t { int32, float32, string, boolean, impulse };

    Value(int32_t v) : payload_(v) {}
    Value(float v) : payload_(v) {}
    Value(std::string v) : payload_(std::move(v)) {}
    Value(const char* v) : payload_(std::string(v)) {}
    Value(bool v) : payload_(v) {}
    static Value impulse() { return Value(Impulse{}); }

    Kind kind() const { return static_cast<Kind>(payload_.index()); }

    // A float is rounded half away from zero. Text: an optional sign then ASCII digits only,
    // within 64 bits. Fatal (the process ends) for a float that is NaN, infinite or whose
    // rounded value does not fit 64 bits: callers that may see such floats must check first.
    std::optional<int64_t> intValue() const;
    // Text: every ',' read as '.', then the whole text as a C-locale strtod number.
    std::optional<float> floatValue() const;
    std::optional<double> doubleValue() const;
    // Text, trimmed and lower-cased: 1/true/on/yes/oui or 0/false/off/no/non; else absent.
    std::optional<bool> boolValue() const;
    // Never fails: digits, the float's shortest printing, the text, "1"/"0", "bang".
    std::string stringValue() const;

    friend bool operator==(const Value&, const Value&) = default;

  private:
    friend std::vector<uint8_t> encode(const Message& message);

    struct Impulse {
        friend bool operator==(Impulse, Impulse) = default;
    };
    explicit Value(Impulse v) : payload_(v) {}

    std::variant<int32_t, float, std::string, bool, Impulse> payload_;
};

struct Message {
    std::string address;
    std::vector<Value> arguments;

    // The like-named conversion of one argument; absent when index is out of range.
    std::optional<int64_t> intAt(int index) const;
    std::optional<float> floatAt(int index) const;
    std::optional<double> doubleAt(int index) const;
    std::optional<bool> boolAt(int index) const;
    std::optional<std::string> stringAt(int index) const;

    friend bool operator==(const Message&, const Message&) = default;
};

// A UDP payload to its messages in packet order, through bundles of any depth (time tags are
// ignored). Text is UTF-8 with each bad sequence replaced by U+FFFD.
std::vector<Message> decode(std::span<const uint8_t> packet);

// One message to its bytes: tags i, f, s, T/F, I. The address is not checked.
std::vector<uint8_t> encode(const Message& message);

}  // namespace vistrel::OSCCodec

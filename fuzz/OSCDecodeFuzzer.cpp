// Arbitrary datagrams through decode and every conversion; a decoded message must survive
// encode and decode unchanged.
#include <cmath>
#include <cstdint>

#include "osc/OSCCodec.h"

using namespace vistrel::OSCCodec;

namespace {

void convert(const Value& v) {
    // intValue of a float with no 64-bit integer value ends the process by contract.
    const auto f = v.floatValue();
    if (v.kind() != Value::Kind::float32 ||
        (std::isfinite(*f) && std::fabs(std::round(*f)) < 9.2e18f))
        (void)v.intValue();
    (void)v.doubleValue();
    (void)v.boolValue();
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    for (const Message& m : decode({data, size})) {
        if (m.address.empty() || m.address[0] != '/') __builtin_trap();
        for (const Value& v : m.arguments) {
            convert(v);
            convert(Value(v.stringValue()));
        }
        const auto bytes = encode(m);
        const auto again = decode(bytes);
        if (again.size() != 1 || encode(again[0]) != bytes) __builtin_trap();
    }
    return 0;
}

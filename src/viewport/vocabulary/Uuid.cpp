#include "vocabulary/Uuid.h"

#include <random>

namespace vistrel::viewport {

namespace {

constexpr bool isDashAt(size_t i) {
    return i == 8 || i == 13 || i == 18 || i == 23;
}

int hexValue(char c) {
    if (c >= '0' && c <= '9') return c - '0';
    if (c >= 'a' && c <= 'f') return c - 'a' + 10;
    if (c >= 'A' && c <= 'F') return c - 'A' + 10;
    return -1;
}

}  // namespace

Uuid Uuid::random() {
    static thread_local std::random_device device;
    Uuid u;
    for (size_t i = 0; i < 16; i += 4) {
        std::uint32_t r = device();
        for (size_t k = 0; k < 4; ++k) u.bytes[i + k] = std::uint8_t(r >> (8 * k));
    }
    u.bytes[6] = std::uint8_t((u.bytes[6] & 0x0F) | 0x40);  // version 4
    u.bytes[8] = std::uint8_t((u.bytes[8] & 0x3F) | 0x80);  // RFC 4122 variant
    return u;
}

std::optional<Uuid> Uuid::parse(std::string_view text) {
    if (text.size() != 36) return std::nullopt;
    Uuid u;
    size_t byte = 0;
    for (size_t i = 0; i < 36;) {
        if (isDashAt(i)) {
            if (text[i] != '-') return std::nullopt;
            ++i;
            continue;
        }
        int hi = hexValue(text[i]), lo = hexValue(text[i + 1]);
        if (hi < 0 || lo < 0 || isDashAt(i + 1)) return std::nullopt;
        u.bytes[byte++] = std::uint8_t(hi * 16 + lo);
        i += 2;
    }
    return u;
}

std::string Uuid::string() const {
    static constexpr char digits[] = "0123456789ABCDEF";
    std::string s;
    s.reserve(36);
    for (size_t i = 0; i < 16; ++i) {
        if (i == 4 || i == 6 || i == 8 || i == 10) s += '-';
        s += digits[bytes[i] >> 4];
        s += digits[bytes[i] & 0x0F];
    }
    return s;
}

}  // namespace vistrel::viewport

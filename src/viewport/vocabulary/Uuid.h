// A 128-bit random identifier (version 4), written as 8-4-4-4-12 upper-case hexadecimal digits.
#pragma once

#include <array>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

namespace vistrel::viewport {

struct Uuid {
    std::array<std::uint8_t, 16> bytes{};

    // A fresh identifier from the system's random source.
    static Uuid random();
    // Accepts either case; nothing for text that is not exactly 36 characters in 8-4-4-4-12.
    static std::optional<Uuid> parse(std::string_view text);
    std::string string() const;

    friend bool operator==(const Uuid&, const Uuid&) = default;
    friend auto operator<=>(const Uuid&, const Uuid&) = default;
};

}  // namespace vistrel::viewport

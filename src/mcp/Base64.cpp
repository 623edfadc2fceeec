#include "Base64.h"

#include <array>

namespace vistrel::mcp::Base64 {

namespace {

constexpr char kAlphabet[] = "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/";

constexpr std::array<int, 256> decodingTable() {
    std::array<int, 256> table{};
    for (int& v : table) v = -1;
    for (int i = 0; i < 64; ++i) table[static_cast<unsigned char>(kAlphabet[i])] = i;
    return table;
}

}  // namespace

std::string encode(std::span<const std::uint8_t> bytes) {
    std::string text;
    text.reserve((bytes.size() + 2) / 3 * 4);
    std::size_t i = 0;
    for (; i + 3 <= bytes.size(); i += 3) {
        const std::uint32_t v = std::uint32_t(bytes[i]) << 16 | bytes[i + 1] << 8 | bytes[i + 2];
        text += kAlphabet[v >> 18 & 63];
        text += kAlphabet[v >> 12 & 63];
        text += kAlphabet[v >> 6 & 63];
        text += kAlphabet[v & 63];
    }
    if (const std::size_t rest = bytes.size() - i) {
        std::uint32_t v = std::uint32_t(bytes[i]) << 16;
        if (rest == 2) v |= std::uint32_t(bytes[i + 1]) << 8;
        text += kAlphabet[v >> 18 & 63];
        text += kAlphabet[v >> 12 & 63];
        text += rest == 2 ? kAlphabet[v >> 6 & 63] : '=';
        text += '=';
    }
    return text;
}

std::optional<std::vector<std::uint8_t>> decode(std::string_view text) {
    static constexpr auto table = decodingTable();
    if (text.size() % 4 != 0) return std::nullopt;
    std::vector<std::uint8_t> bytes;
    bytes.reserve(text.size() / 4 * 3);
    for (std::size_t i = 0; i < text.size(); i += 4) {
        const bool last = i + 4 == text.size();
        const int pad = last ? (text[i + 3] == '=') + (text[i + 2] == '=') : 0;
        std::uint32_t v = 0;
        for (int k = 0; k < 4; ++k) {
            const int digit = k >= 4 - pad ? 0 : table[static_cast<unsigned char>(text[i + k])];
            if (digit < 0) return std::nullopt;
            v = v << 6 | std::uint32_t(digit);
        }
        bytes.push_back(std::uint8_t(v >> 16));
        if (pad < 2) bytes.push_back(std::uint8_t(v >> 8));
        if (pad < 1) bytes.push_back(std::uint8_t(v));
    }
    return bytes;
}

}  // namespace vistrel::mcp::Base64

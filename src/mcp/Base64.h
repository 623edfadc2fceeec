// Standard base64 (RFC 4648, with padding), as MCP carries images and files.
#pragma once

#include <cstdint>
#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <vector>

namespace vistrel::mcp::Base64 {

std::string encode(std::span<const std::uint8_t> bytes);
// Absent when `text` is not padded base64 of the standard alphabet.
std::optional<std::vector<std::uint8_t>> decode(std::string_view text);

}  // namespace vistrel::mcp::Base64

// Checks tool arguments against the JSON Schema the tool publishes, so that a model learns what
// was wrong with a call instead of the program silently passing over a key. Covers the keywords
// the tools use: type, enum, minimum, maximum, minLength, minItems, maxItems, items, properties,
// required and additionalProperties false.
#pragma once

#include <optional>
#include <string>

#include <nlohmann/json.hpp>

namespace vistrel::mcp::ArgumentCheck {

// Absent when `value` satisfies `schema`; otherwise an English sentence naming the first
// argument at fault and what it must be.
std::optional<std::string> violation(const nlohmann::json& schema, const nlohmann::json& value);

}  // namespace vistrel::mcp::ArgumentCheck

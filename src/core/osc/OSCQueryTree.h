// The published OSC vocabulary as OSCQuery clients read it: a flat list of parameters folded
// into the nested JSON tree, lookups by path, and the HOST_INFO reply. Stateless; values in,
// values out, safe from any thread. The tree is built afresh per request, so VALUE is live.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include <nlohmann/json.hpp>

namespace vistrel {

struct OSCQueryParameterSpec {
    std::string path;     // the full OSC address
    std::string typeTag;  // one tag per value, no leading comma
    int access = 3;       // 0 none, 1 read, 2 write, 3 both
    std::string description;
    std::optional<double> min, max;
    std::vector<nlohmann::json> values;  // one per tag; empty for a trigger
    std::optional<std::vector<std::string>> unit;
};

namespace OSCQueryTree {

// The whole tree, its root's DESCRIPTION set to `description`.
nlohmann::json rootJSON(const std::vector<OSCQueryParameterSpec>& parameters,
                        const std::string& description);
// The node at `path` (empty pieces ignored; "/" is the root); absent when there is none.
std::optional<nlohmann::json> nodeJSON(const std::string& path, const nlohmann::json& root);
nlohmann::json hostInfoJSON(const std::string& name, uint16_t oscPort);

}  // namespace OSCQueryTree
}  // namespace vistrel

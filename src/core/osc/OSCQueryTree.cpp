#include "osc/OSCQueryTree.h"

#include <algorithm>
#include <map>
#include <string_view>

namespace vistrel::OSCQueryTree {

namespace {

using nlohmann::json;

// Empty pieces are dropped, so "//a//b/" and "/a/b" name the same node.
std::vector<std::string_view> pieces(std::string_view path) {
    std::vector<std::string_view> out;
    while (!path.empty()) {
        size_t slash = path.find('/');
        std::string_view piece = path.substr(0, slash);
        if (!piece.empty()) out.push_back(piece);
        if (slash == std::string_view::npos) break;
        path.remove_prefix(slash + 1);
    }
    return out;
}

struct Node {
    std::string fullPath;
    const OSCQueryParameterSpec* parameter = nullptr;
    std::map<std::string, Node, std::less<>> children;

    json toJSON() const {
        json out = json::object();
        out["FULL_PATH"] = fullPath;
        if (!parameter) {
            out["ACCESS"] = 0;
        } else {
            out["ACCESS"] = parameter->access;
            out["TYPE"] = parameter->typeTag;
            out["DESCRIPTION"] = parameter->description;
            if (!parameter->values.empty()) out["VALUE"] = parameter->values;
            // A parameter holds one range for all its values, so each value reports that one.
            if (parameter->min && parameter->max) {
                json range = {{"MIN", *parameter->min}, {"MAX", *parameter->max}};
                out["RANGE"] = json::array();
                for (size_t i = 0; i < std::max<size_t>(parameter->typeTag.size(), 1); ++i)
                    out["RANGE"].push_back(range);
            }
            if (parameter->unit && !parameter->unit->empty()) out["UNIT"] = *parameter->unit;
        }
        if (!children.empty()) {
            json contents = json::object();
            for (const auto& [name, child] : children) contents[name] = child.toJSON();
            out["CONTENTS"] = std::move(contents);
        }
        return out;
    }
};

}  // namespace

json rootJSON(const std::vector<OSCQueryParameterSpec>& parameters,
              const std::string& description) {
    Node root{"/", nullptr, {}};
    for (const auto& parameter : parameters) {
        auto parts = pieces(parameter.path);
        if (parts.empty()) continue;
        Node* node = &root;
        std::string running;
        for (std::string_view piece : parts) {
            running += '/';
            running += piece;
            auto it = node->children.find(piece);
            if (it == node->children.end())
                it = node->children.emplace(std::string(piece), Node{running, nullptr, {}}).first;
            node = &it->second;
        }
        node->parameter = &parameter;  // a later parameter of the same path replaces the earlier
    }
    json out = root.toJSON();
    out["DESCRIPTION"] = description;
    return out;
}

std::optional<json> nodeJSON(const std::string& path, const json& root) {
    const json* node = &root;
    for (std::string_view piece : pieces(path)) {
        if (!node->is_object()) return std::nullopt;
        auto contents = node->find("CONTENTS");
        if (contents == node->end() || !contents->is_object()) return std::nullopt;
        auto child = contents->find(piece);
        if (child == contents->end() || !child->is_object()) return std::nullopt;
        node = &*child;
    }
    return *node;
}

json hostInfoJSON(const std::string& name, uint16_t oscPort) {
    return {
        {"NAME", name},
        {"OSC_PORT", oscPort},
        {"OSC_TRANSPORT", "UDP"},
        {"EXTENSIONS",
         {{"ACCESS", true},
          {"DESCRIPTION", true},
          {"VALUE", true},
          {"RANGE", true},
          {"UNIT", true},
          {"TAGS", false},
          {"CLIPMODE", false},
          {"CRITICAL", false},
          {"LISTEN", false},
          {"PATH_CHANGED", false}}},
    };
}

}  // namespace vistrel::OSCQueryTree

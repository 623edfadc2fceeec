// The tools a language model calls, each a thin wrapper of one route of the program's HTTP API:
// its name, description, argument schema and hints for `tools/list`, and the call itself.
#pragma once

#include <string>

#include <nlohmann/json.hpp>

#include "APIClient.h"

namespace vistrel::mcp {

class VistrelTools {
  public:
    explicit VistrelTools(APIClient client);

    // The tool objects of `tools/list`: name, title, description, inputSchema, annotations.
    const nlohmann::json& list() const { return tools_; }
    bool has(const std::string& name) const;

    // Runs tool `name` (one that `has` knows) with `arguments` (an object) and returns the
    // `tools/call` result. Arguments outside the schema, an unreachable program and errors the
    // API answers all come back as results with `isError` true and an English text.
    nlohmann::json call(const std::string& name, const nlohmann::json& arguments) const;

  private:
    nlohmann::json run(const std::string& name, const nlohmann::json& arguments) const;
    nlohmann::json snapshot(const nlohmann::json& arguments) const;
    nlohmann::json pdf(const nlohmann::json& arguments) const;

    APIClient client_;
    nlohmann::json tools_;
};

}  // namespace vistrel::mcp

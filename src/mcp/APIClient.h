// A client of the running program's HTTP API on 127.0.0.1: one request per call, as the server
// answers one request per connection. Never throws for what the network does.
#pragma once

#include <cstdint>
#include <string>

#include <nlohmann/json.hpp>

namespace vistrel::mcp {

class APIClient {
  public:
    struct Response {
        // False when nothing answered on the port (no program, or it did not reply in time);
        // `failure` then says which, in English.
        bool reached = false;
        bool timedOut = false;
        long status = 0;
        std::string contentType;
        std::string body;
        std::string failure;
    };

    explicit APIClient(std::uint16_t port);

    std::uint16_t port() const { return port_; }
    Response get(const std::string& path, int timeoutSeconds) const;
    Response post(const std::string& path, const nlohmann::json& body, int timeoutSeconds) const;

  private:
    Response exchange(const std::string& path, const std::string* body, int timeoutSeconds) const;

    std::uint16_t port_;
};

}  // namespace vistrel::mcp

// One HTTP/1.1 request read from bytes as they arrive, and the head of the one response a
// connection gets. No sockets here: the listener feeds whatever recv returned. Outside bytes
// never fail loudly: a request that cannot be read is simply dropped.
#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

#include <nlohmann/json.hpp>

namespace vistrel::app {

struct HTTPRequest {
    std::string method;  // upper-cased
    std::string path;    // percent-decoded when that succeeds, else as sent
    std::string query;   // as sent, without the "?"
    std::string body;    // at most the announced Content-Length
    nlohmann::json args = nlohmann::json::object();  // the body when it is a JSON object
};

class HTTPRequestReader {
  public:
    // Data beyond this before the request is complete drops the request.
    static constexpr size_t maxRequestBytes = 4194304;

    enum class Progress { needMore, complete, dropped };

    // Appends what one recv returned. Once complete or dropped, further bytes are ignored.
    Progress feed(std::string_view bytes);
    // The peer stopped sending (end of stream, error or time-out): a request whose header
    // ended goes on with the body it has, any other is dropped.
    Progress peerStopped();

    // The request once complete; absent when incomplete or its request line has fewer than
    // two words.
    std::optional<HTTPRequest> request() const;

  private:
    std::string data_;
    std::optional<size_t> headerEnd_;  // just past "\r\n\r\n"
    size_t searchedUpTo_ = 0;
    uint64_t contentLength_ = 0;
    Progress progress_ = Progress::needMore;
};

// "%41" to "A"; absent when a "%" lacks two hex digits or the result is not UTF-8.
std::optional<std::string> percentDecoded(std::string_view text);

// 200 "OK", 204 "No Content", 400 "Bad Request", 404 "Not Found", anything else "Error".
const char* reasonPhrase(int status);
// The whole head, blank line included; the only headers a response ever carries.
std::string responseHead(int status, std::string_view contentType, size_t contentLength);

}  // namespace vistrel::app

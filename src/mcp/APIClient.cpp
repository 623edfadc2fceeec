#include "APIClient.h"

#include <curl/curl.h>

#include <memory>
#include <mutex>

namespace vistrel::mcp {

namespace {

// Replies past this size are cut off: the largest the API sends are PDFs of a detailed view.
constexpr std::size_t kMaxReplyBytes = 512u << 20;

size_t appendBody(char* data, size_t size, size_t count, void* user) {
    auto* body = static_cast<std::string*>(user);
    const size_t n = size * count;
    if (body->size() + n > kMaxReplyBytes) return 0;
    body->append(data, n);
    return n;
}

struct CurlDeleter {
    void operator()(CURL* handle) const { curl_easy_cleanup(handle); }
};
struct HeaderListDeleter {
    void operator()(curl_slist* list) const { curl_slist_free_all(list); }
};

}  // namespace

APIClient::APIClient(std::uint16_t port) : port_(port) {
    static std::once_flag once;
    std::call_once(once, [] { curl_global_init(CURL_GLOBAL_DEFAULT); });
}

APIClient::Response APIClient::get(const std::string& path, int timeoutSeconds) const {
    return exchange(path, nullptr, timeoutSeconds);
}

APIClient::Response APIClient::post(const std::string& path, const nlohmann::json& body,
                                    int timeoutSeconds) const {
    const std::string text = body.dump();
    return exchange(path, &text, timeoutSeconds);
}

APIClient::Response APIClient::exchange(const std::string& path, const std::string* body,
                                        int timeoutSeconds) const {
    Response response;
    std::unique_ptr<CURL, CurlDeleter> curl(curl_easy_init());
    if (!curl) {
        response.failure = "could not start an HTTP request";
        return response;
    }
    const std::string url = "http://127.0.0.1:" + std::to_string(port_) + path;
    // The server takes no keep-alive, and a body this small needs no "100 Continue" round.
    std::unique_ptr<curl_slist, HeaderListDeleter> headers(
        curl_slist_append(nullptr, "Content-Type: application/json"));
    if (curl_slist* longer = headers ? curl_slist_append(headers.get(), "Expect:") : nullptr)
        headers.release(), headers.reset(longer);
    CURL* h = curl.get();
    curl_easy_setopt(h, CURLOPT_URL, url.c_str());
    curl_easy_setopt(h, CURLOPT_NOSIGNAL, 1L);
    curl_easy_setopt(h, CURLOPT_NOPROXY, "*");
    curl_easy_setopt(h, CURLOPT_CONNECTTIMEOUT, 3L);
    curl_easy_setopt(h, CURLOPT_TIMEOUT, long(timeoutSeconds));
    curl_easy_setopt(h, CURLOPT_WRITEFUNCTION, appendBody);
    curl_easy_setopt(h, CURLOPT_WRITEDATA, &response.body);
    curl_easy_setopt(h, CURLOPT_HTTPHEADER, headers.get());
    if (body) {
        curl_easy_setopt(h, CURLOPT_POSTFIELDS, body->data());
        curl_easy_setopt(h, CURLOPT_POSTFIELDSIZE, long(body->size()));
    }
    const CURLcode code = curl_easy_perform(h);
    if (code != CURLE_OK) {
        response.timedOut = code == CURLE_OPERATION_TIMEDOUT;
        response.failure = curl_easy_strerror(code);
        response.body.clear();
        return response;
    }
    response.reached = true;
    curl_easy_getinfo(h, CURLINFO_RESPONSE_CODE, &response.status);
    char* type = nullptr;
    if (curl_easy_getinfo(h, CURLINFO_CONTENT_TYPE, &type) == CURLE_OK && type)
        response.contentType = type;
    return response;
}

}  // namespace vistrel::mcp

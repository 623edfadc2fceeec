// One GET over libcurl, blocking, for the updater's worker thread. Redirects are followed (GitHub
// serves assets through them). A transport failure throws UpdateError with a bilingual message;
// any HTTP status is a result.
#pragma once

#include <functional>
#include <string>
#include <vector>

namespace vistrel {

class HTTPFetch {
  public:
    struct Response {
        long status = 0;
        std::string body;
    };
    // Fraction of the expected size received, 0 to 1; called often, from the calling thread.
    // Returning false stops the transfer, which then fails.
    using Progress = std::function<bool(double)>;

    // timeoutSeconds 0 leaves the whole transfer unbounded, but a stalled one still ends.
    static Response get(const std::string& url, const std::vector<std::string>& headers,
                        double timeoutSeconds, const Progress& progress = {});
    // Whether text is an absolute address with a scheme and a host.
    static bool isValidURL(const std::string& text);
};

}  // namespace vistrel

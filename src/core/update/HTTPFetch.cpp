#include "update/HTTPFetch.h"

#include <curl/curl.h>

#include <memory>
#include <mutex>

#include "settings/Localization.h"
#include "update/UpdateError.h"

namespace vistrel {

namespace {

void initialiseOnce() {
    static std::once_flag once;
    std::call_once(once, [] { curl_global_init(CURL_GLOBAL_DEFAULT); });
}

size_t append(char* data, size_t size, size_t count, void* user) {
    static_cast<std::string*>(user)->append(data, size * count);
    return size * count;
}

int report(void* user, curl_off_t total, curl_off_t now, curl_off_t, curl_off_t) {
    const auto& progress = *static_cast<const HTTPFetch::Progress*>(user);
    if (!progress) return 0;
    return progress(total > 0 ? double(now) / double(total) : 0) ? 0 : 1;
}

}  // namespace

HTTPFetch::Response HTTPFetch::get(const std::string& url, const std::vector<std::string>& headers,
                                   double timeoutSeconds, const Progress& progress) {
    initialiseOnce();
    std::unique_ptr<CURL, decltype(&curl_easy_cleanup)> curl(curl_easy_init(), curl_easy_cleanup);
    if (!curl) throw UpdateError(UpdateError::transferFailed, "curl_easy_init");
    curl_slist* list = nullptr;
    for (const auto& header : headers) list = curl_slist_append(list, header.c_str());
    std::unique_ptr<curl_slist, decltype(&curl_slist_free_all)> headerList(list,
                                                                           curl_slist_free_all);
    Response response;
    CURL* c = curl.get();
    curl_easy_setopt(c, CURLOPT_URL, url.c_str());
    curl_easy_setopt(c, CURLOPT_HTTPHEADER, list);
    curl_easy_setopt(c, CURLOPT_FOLLOWLOCATION, 1L);
    curl_easy_setopt(c, CURLOPT_MAXREDIRS, 10L);
    curl_easy_setopt(c, CURLOPT_PROTOCOLS_STR, "http,https");
    curl_easy_setopt(c, CURLOPT_NOSIGNAL, 1L);
    // The feed must be read fresh each time.
    curl_easy_setopt(c, CURLOPT_FRESH_CONNECT, 1L);
    curl_easy_setopt(c, CURLOPT_WRITEFUNCTION, append);
    curl_easy_setopt(c, CURLOPT_WRITEDATA, &response.body);
    curl_easy_setopt(c, CURLOPT_CONNECTTIMEOUT, 60L);
    if (timeoutSeconds > 0) {
        curl_easy_setopt(c, CURLOPT_TIMEOUT_MS, long(timeoutSeconds * 1000));
    } else {
        // Without a total limit, a transfer that stalls for a minute is given up.
        curl_easy_setopt(c, CURLOPT_LOW_SPEED_LIMIT, 1L);
        curl_easy_setopt(c, CURLOPT_LOW_SPEED_TIME, 60L);
    }
    if (progress) {
        curl_easy_setopt(c, CURLOPT_NOPROGRESS, 0L);
        curl_easy_setopt(c, CURLOPT_XFERINFOFUNCTION, report);
        curl_easy_setopt(c, CURLOPT_XFERINFODATA, &progress);
    }
    const CURLcode result = curl_easy_perform(c);
    if (result != CURLE_OK) {
        const std::string reason = curl_easy_strerror(result);
        throw UpdateError(
            result == CURLE_OPERATION_TIMEDOUT ? int(result) : UpdateError::transferFailed,
            result == CURLE_OPERATION_TIMEDOUT
                ? L("La connexion au serveur de mises à jour a expiré.",
                    "The connection to the update server timed out.")
                : L("Impossible de joindre le serveur de mises à jour (",
                    "Could not reach the update server (") +
                      reason + ").");
    }
    curl_easy_getinfo(c, CURLINFO_RESPONSE_CODE, &response.status);
    return response;
}

bool HTTPFetch::isValidURL(const std::string& text) {
    if (text.empty()) return false;
    std::unique_ptr<CURLU, decltype(&curl_url_cleanup)> u(curl_url(), curl_url_cleanup);
    if (!u || curl_url_set(u.get(), CURLUPART_URL, text.c_str(), 0) != CURLUE_OK) return false;
    char* host = nullptr;
    const bool hasHost =
        curl_url_get(u.get(), CURLUPART_HOST, &host, 0) == CURLUE_OK && host && *host;
    curl_free(host);
    return hasHost;
}

}  // namespace vistrel

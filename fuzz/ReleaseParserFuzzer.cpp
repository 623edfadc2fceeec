// Arbitrary feed bodies through the release parser: it may throw the updater's error or a JSON
// error, and nothing else; what it returns has a version without a leading "v" and a usable
// address.
#include <cstdint>
#include <cstdlib>
#include <string>

#include <nlohmann/json.hpp>

#include "update/HTTPFetch.h"
#include "update/UpdateError.h"
#include "update/VistrelUpdater.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    const std::string body(reinterpret_cast<const char*>(data), size);
    try {
        const auto release =
            vistrel::VistrelUpdater::parseRelease(body, "org.vistrel.viewer", "Vistrel");
        if (!vistrel::HTTPFetch::isValidURL(release.downloadURL)) std::abort();
        if (release.sha256 && release.sha256->empty()) std::abort();
        vistrel::VistrelUpdater::normalizeVersion(release.version);
    } catch (const vistrel::UpdateError&) {
    } catch (const nlohmann::json::exception&) {
    }
    return 0;
}

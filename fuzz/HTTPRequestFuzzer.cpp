// Arbitrary bytes through the HTTP request reader, fed in chunks whose sizes the input's first
// bytes choose, as recv would split them. Whatever arrives, the reader must end in a request or
// a drop, and a request must keep its own promises.
#include <algorithm>
#include <cstdint>
#include <string_view>

#include "remote/HTTPRequest.h"

using namespace vistrel::app;

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    if (size < 2) return 0;
    const size_t sizes[] = {1, 2, 3, 7, 64, 1000, 4096, 8192};
    const uint8_t pattern = data[0], stopEarly = data[1];
    std::string_view input(reinterpret_cast<const char*>(data) + 2, size - 2);

    HTTPRequestReader reader;
    auto progress = HTTPRequestReader::Progress::needMore;
    for (int i = 0; !input.empty() && progress == HTTPRequestReader::Progress::needMore; ++i) {
        const size_t chunk = std::min(input.size(), sizes[(pattern >> (i % 6)) & 7]);
        progress = reader.feed(input.substr(0, chunk));
        input.remove_prefix(chunk);
        if (stopEarly == i) break;
    }
    progress = reader.peerStopped();
    if (progress == HTTPRequestReader::Progress::needMore) __builtin_trap();

    if (const auto request = reader.request()) {
        if (progress != HTTPRequestReader::Progress::complete) __builtin_trap();
        if (request->method.empty() || !request->args.is_object()) __builtin_trap();
        for (const char c : request->method)
            if (c >= 'a' && c <= 'z') __builtin_trap();
        (void)request->args.dump();
        (void)responseHead(int(request->body.size()), request->path, request->query.size());
    }
    if (const auto decoded = percentDecoded(
            std::string_view(reinterpret_cast<const char*>(data), std::min<size_t>(size, 256))))
        if (decoded->size() > size) __builtin_trap();
    return 0;
}

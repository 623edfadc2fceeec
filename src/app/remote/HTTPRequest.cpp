#include "remote/HTTPRequest.h"

#include <algorithm>
#include <charconv>
#include <vector>

namespace vistrel::app {

namespace {

constexpr std::string_view headerTerminator = "\r\n\r\n";

std::string_view trimmed(std::string_view text) {
    const auto first = text.find_first_not_of(" \t");
    if (first == std::string_view::npos) return {};
    return text.substr(first, text.find_last_not_of(" \t") - first + 1);
}

char asciiLower(char c) {
    return c >= 'A' && c <= 'Z' ? char(c - 'A' + 'a') : c;
}

char asciiUpper(char c) {
    return c >= 'a' && c <= 'z' ? char(c - 'a' + 'A') : c;
}

// Pieces between separators, empty ones dropped.
std::vector<std::string_view> words(std::string_view text, std::string_view separator) {
    std::vector<std::string_view> pieces;
    size_t start = 0;
    while (start <= text.size()) {
        const size_t end = std::min(text.find(separator, start), text.size());
        if (end > start) pieces.push_back(text.substr(start, end - start));
        start = end + separator.size();
    }
    return pieces;
}

// A decimal with an optional sign; a negative length means no body, anything else that does
// not parse as a whole counts as 0.
uint64_t parsedContentLength(std::string_view text) {
    if (!text.empty() && text.front() == '+') text.remove_prefix(1);
    int64_t value = 0;
    const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), value);
    if (error != std::errc() || end != text.data() + text.size() || value < 0) return 0;
    return uint64_t(value);
}

int hexDigit(char c) {
    if (c >= '0' && c <= '9') return c - '0';
    if (c >= 'a' && c <= 'f') return c - 'a' + 10;
    if (c >= 'A' && c <= 'F') return c - 'A' + 10;
    return -1;
}

bool isUTF8(std::string_view text) {
    size_t i = 0;
    while (i < text.size()) {
        const auto lead = uint8_t(text[i]);
        int extra;
        uint32_t code;
        if (lead < 0x80) {
            ++i;
            continue;
        } else if (lead >= 0xC2 && lead <= 0xDF) {
            extra = 1, code = lead & 0x1F;
        } else if (lead >= 0xE0 && lead <= 0xEF) {
            extra = 2, code = lead & 0x0F;
        } else if (lead >= 0xF0 && lead <= 0xF4) {
            extra = 3, code = lead & 0x07;
        } else {
            return false;
        }
        if (text.size() - i <= size_t(extra)) return false;
        for (int k = 1; k <= extra; ++k) {
            const auto next = uint8_t(text[i + k]);
            if ((next & 0xC0) != 0x80) return false;
            code = (code << 6) | (next & 0x3F);
        }
        // Overlong forms, surrogates and values past U+10FFFF.
        if ((extra == 2 && code < 0x800) || (extra == 3 && code < 0x10000) || code > 0x10FFFF ||
            (code >= 0xD800 && code <= 0xDFFF))
            return false;
        i += size_t(extra) + 1;
    }
    return true;
}

}  // namespace

HTTPRequestReader::Progress HTTPRequestReader::feed(std::string_view bytes) {
    if (progress_ != Progress::needMore) return progress_;
    data_.append(bytes);
    if (!headerEnd_) {
        // Resume where the last search stopped, less what a split terminator may have left.
        const size_t from = searchedUpTo_ >= 3 ? searchedUpTo_ - 3 : 0;
        const size_t found = data_.find(headerTerminator, from);
        searchedUpTo_ = data_.size();
        if (found != std::string::npos) {
            headerEnd_ = found + headerTerminator.size();
            const auto lines = words(std::string_view(data_).substr(0, found), "\r\n");
            for (size_t i = 1; i < lines.size(); ++i) {
                const size_t colon = lines[i].find(':');
                if (colon == std::string_view::npos || colon == 0 || colon + 1 == lines[i].size())
                    continue;
                std::string name(trimmed(lines[i].substr(0, colon)));
                std::transform(name.begin(), name.end(), name.begin(), asciiLower);
                if (name == "content-length")
                    contentLength_ = parsedContentLength(trimmed(lines[i].substr(colon + 1)));
            }
        }
    }
    if (headerEnd_ && data_.size() - *headerEnd_ >= contentLength_)
        progress_ = Progress::complete;
    else if (data_.size() > maxRequestBytes)
        progress_ = Progress::dropped;
    return progress_;
}

HTTPRequestReader::Progress HTTPRequestReader::peerStopped() {
    if (progress_ == Progress::needMore)
        progress_ = headerEnd_ ? Progress::complete : Progress::dropped;
    return progress_;
}

std::optional<HTTPRequest> HTTPRequestReader::request() const {
    if (progress_ != Progress::complete) return std::nullopt;
    const std::string_view head = std::string_view(data_).substr(0, *headerEnd_ - 4);
    const auto lines = words(head, "\r\n");
    const auto pieces = words(lines.empty() ? std::string_view() : lines.front(), " ");
    if (pieces.size() < 2) return std::nullopt;

    HTTPRequest request;
    request.method = std::string(pieces[0]);
    std::transform(request.method.begin(), request.method.end(), request.method.begin(),
                   asciiUpper);
    const std::string_view target = pieces[1];
    const size_t question = target.find('?');
    const std::string_view rawPath = target.substr(0, question);
    request.path = percentDecoded(rawPath).value_or(std::string(rawPath));
    if (question != std::string_view::npos)
        request.query = std::string(target.substr(question + 1));

    const std::string_view rest = std::string_view(data_).substr(*headerEnd_);
    request.body = std::string(rest.substr(0, std::min<uint64_t>(rest.size(), contentLength_)));
    nlohmann::json parsed = nlohmann::json::parse(request.body, nullptr, false);
    if (parsed.is_object()) request.args = std::move(parsed);
    return request;
}

std::optional<std::string> percentDecoded(std::string_view text) {
    std::string decoded;
    decoded.reserve(text.size());
    for (size_t i = 0; i < text.size(); ++i) {
        if (text[i] != '%') {
            decoded += text[i];
            continue;
        }
        if (i + 2 >= text.size()) return std::nullopt;
        const int high = hexDigit(text[i + 1]), low = hexDigit(text[i + 2]);
        if (high < 0 || low < 0) return std::nullopt;
        decoded += char(high * 16 + low);
        i += 2;
    }
    if (!isUTF8(decoded)) return std::nullopt;
    return decoded;
}

const char* reasonPhrase(int status) {
    switch (status) {
        case 200:
            return "OK";
        case 204:
            return "No Content";
        case 400:
            return "Bad Request";
        case 404:
            return "Not Found";
        default:
            return "Error";
    }
}

std::string responseHead(int status, std::string_view contentType, size_t contentLength) {
    std::string head = "HTTP/1.1 " + std::to_string(status) + " " + reasonPhrase(status);
    head += "\r\nContent-Type: ";
    head += contentType;
    head += "\r\nAccess-Control-Allow-Origin: *\r\nContent-Length: ";
    head += std::to_string(contentLength);
    head += "\r\nConnection: close\r\n\r\n";
    return head;
}

}  // namespace vistrel::app

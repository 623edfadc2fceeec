#include "documents/Format.h"

#include <charconv>
#include <cmath>

#include "settings/Localization.h"

namespace vistrel::app::Format {

namespace {

struct Separators {
    std::string_view group;
    std::string_view decimal;
};

Separators separators() {
    if (Localization::isEnglish()) return {",", "."};
    return {"\u202F", ","};
}

// `digits` is a plain to_chars result: optional '-', integer digits, optional '.' fraction.
std::string localize(std::string_view digits) {
    const Separators sep = separators();
    std::string out;
    size_t i = 0;
    if (!digits.empty() && digits[0] == '-') {
        out += '-';
        i = 1;
    }
    size_t point = digits.find('.');
    size_t intEnd = point == std::string_view::npos ? digits.size() : point;
    size_t intLen = intEnd - i;
    for (size_t k = 0; k < intLen; ++k) {
        if (k > 0 && (intLen - k) % 3 == 0) out += sep.group;
        out += digits[i + k];
    }
    if (point != std::string_view::npos) {
        out += sep.decimal;
        out += digits.substr(point + 1);
    }
    return out;
}

std::string oneDecimal(double value) {
    char buffer[64];
    if (!std::isfinite(value)) {
        auto [end, ec] = std::to_chars(buffer, buffer + sizeof buffer, value);
        return ec == std::errc() ? std::string(buffer, end) : std::string();
    }
    auto [end, ec] =
        std::to_chars(buffer, buffer + sizeof buffer, value, std::chars_format::fixed, 1);
    if (ec != std::errc()) return std::to_string(value);
    std::string_view text(buffer, size_t(end - buffer));
    // "-0.0" reads as a stray sign.
    if (text == "-0.0") text = "0.0";
    return localize(text);
}

}  // namespace

std::string decimal(float value) {
    return oneDecimal(double(value));
}

std::string decimal(double value) {
    return oneDecimal(value);
}

std::string count(int64_t n, std::string_view label) {
    char buffer[32];
    auto [end, ec] = std::to_chars(buffer, buffer + sizeof buffer, n);
    std::string number = ec == std::errc()
                             ? localize(std::string_view(buffer, size_t(end - buffer)))
                             : std::to_string(n);
    bool plural = Localization::isEnglish() ? n != 1 : n > 1;
    std::string out = number + " " + std::string(label);
    if (plural) out += "s";
    return out;
}

}  // namespace vistrel::app::Format

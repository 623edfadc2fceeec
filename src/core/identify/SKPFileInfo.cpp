#include "identify/SKPFileInfo.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <charconv>
#include <cstring>
#include <functional>
#include <string_view>

#include "identify/DWGPreview.h"
#include "model/SKPError.h"

namespace vistrel {

namespace {

using Bytes = std::span<const uint8_t>;

// Byte offset of `needle` in `hay` at or after `from`, or npos.
size_t find(Bytes hay, Bytes needle, size_t from = 0) {
    if (needle.empty() || from > hay.size()) return std::string_view::npos;
    auto it = std::search(hay.begin() + ptrdiff_t(from), hay.end(),
                          std::boyer_moore_horspool_searcher(needle.begin(), needle.end()));
    return it == hay.end() ? std::string_view::npos : size_t(it - hay.begin());
}

std::vector<uint8_t> utf16le(std::string_view ascii) {
    std::vector<uint8_t> out;
    for (char c : ascii) {
        out.push_back(uint8_t(c));
        out.push_back(0);
    }
    return out;
}

Bytes bytes(std::string_view s) {
    return {reinterpret_cast<const uint8_t*>(s.data()), s.size()};
}

// Strict UTF-16LE to UTF-8; nothing on a lone surrogate.
std::optional<std::string> decodeUTF16LE(Bytes b) {
    if (b.size() % 2 != 0) return std::nullopt;
    std::string out;
    for (size_t i = 0; i < b.size(); i += 2) {
        uint32_t u = b[i] | (b[i + 1] << 8);
        if (u >= 0xD800 && u <= 0xDBFF) {
            if (i + 3 >= b.size()) return std::nullopt;
            uint32_t lo = b[i + 2] | (b[i + 3] << 8);
            if (lo < 0xDC00 || lo > 0xDFFF) return std::nullopt;
            u = 0x10000 + ((u - 0xD800) << 10) + (lo - 0xDC00);
            i += 2;
        } else if (u >= 0xDC00 && u <= 0xDFFF) {
            return std::nullopt;
        }
        if (u < 0x80) {
            out += char(u);
        } else if (u < 0x800) {
            out += char(0xC0 | (u >> 6));
            out += char(0x80 | (u & 0x3F));
        } else if (u < 0x10000) {
            out += char(0xE0 | (u >> 12));
            out += char(0x80 | ((u >> 6) & 0x3F));
            out += char(0x80 | (u & 0x3F));
        } else {
            out += char(0xF0 | (u >> 18));
            out += char(0x80 | ((u >> 12) & 0x3F));
            out += char(0x80 | ((u >> 6) & 0x3F));
            out += char(0x80 | (u & 0x3F));
        }
    }
    return out;
}

bool isSpace(char c) {
    return c == ' ' || c == '\t' || c == '\n' || c == '\r' || c == '\v' || c == '\f';
}

}  // namespace

std::string lowercaseExtension(const std::filesystem::path& url) {
    std::string ext = url.extension().string();
    if (!ext.empty() && ext[0] == '.') ext.erase(0, 1);
    std::transform(ext.begin(), ext.end(), ext.begin(),
                   [](unsigned char c) { return char(c >= 'A' && c <= 'Z' ? c + 32 : c); });
    return ext;
}

bool SKPFileInfo::isDXF() const {
    return version == "DXF" || lowercaseExtension(url) == "dxf";
}

bool SKPFileInfo::isDWG() const {
    std::string ext = lowercaseExtension(url);
    if (ext == "dwg") return true;
    return version && version->starts_with("AC10") && ext != "dxf";
}

SKPFileInfo SKPFileInfo::read(const std::filesystem::path& url) {
    int fd = ::open(url.c_str(), O_RDONLY | O_CLOEXEC);
    if (fd < 0) throw SKPError::unreadable(url);
    struct stat st {};
    bool haveStat = ::fstat(fd, &st) == 0;
    bool haveSize = haveStat && S_ISREG(st.st_mode);
    if (haveStat && S_ISDIR(st.st_mode)) {
        ::close(fd);
        throw SKPError::unreadable(url);
    }
    std::vector<uint8_t> header(maxHeaderBytes);
    size_t got = 0;
    while (got < header.size()) {
        ssize_t n = ::read(fd, header.data() + got, header.size() - got);
        if (n < 0) {
            if (errno == EINTR) continue;
            ::close(fd);
            throw SKPError::unreadable(url);
        }
        if (n == 0) break;
        got += size_t(n);
    }
    ::close(fd);
    header.resize(got);
    int64_t size = haveSize ? int64_t(st.st_size) : int64_t(got);
    return parse(header, url, size);
}

SKPFileInfo SKPFileInfo::parse(std::span<const uint8_t> header, const std::filesystem::path& url,
                               int64_t fileSize) {
    SKPFileInfo info;
    info.url = url;
    info.fileSize = fileSize;
    if (auto v = parseVersion(header)) {
        info.version = v;
        info.versionLabel = label(*v);
        info.thumbnailPNG = thumbnail(header);
    } else if (auto code = parseDWGVersion(header)) {
        info.version = code;
        info.versionLabel = dwgLabel(*code, false);
        // The preview the header points to first: it may be a bitmap, which no carve finds.
        info.thumbnailPNG = DWGPreview::png(header);
        if (!info.thumbnailPNG) info.thumbnailPNG = thumbnail(header);
    } else if (auto dxf = parseDXFVersion(header, url)) {
        info.version = dxf->first;
        info.versionLabel = dxf->second;
    } else {
        info.thumbnailPNG = thumbnail(header);
    }
    return info;
}

std::optional<std::string> SKPFileInfo::parseVersion(std::span<const uint8_t> header) {
    static const std::vector<uint8_t> marker = utf16le("SketchUp Model");
    static const std::vector<uint8_t> open = utf16le("{");
    static const std::vector<uint8_t> close = utf16le("}");
    size_t m = find(header, marker);
    if (m == std::string_view::npos) return std::nullopt;
    size_t afterMarker = m + marker.size();
    size_t o = find(header, open, afterMarker);
    if (o == std::string_view::npos || o - afterMarker > 15) return std::nullopt;
    size_t afterOpen = o + open.size();
    size_t windowEnd = std::min(header.size(), afterOpen + 64);
    size_t c = find(header.first(windowEnd), close, afterOpen);
    if (c == std::string_view::npos) return std::nullopt;
    auto text = decodeUTF16LE(header.subspan(afterOpen, c - afterOpen));
    if (!text || text->empty()) return std::nullopt;
    return text;
}

std::optional<std::string> SKPFileInfo::label(const std::string& version) {
    size_t n = 0;
    while (n < version.size() && version[n] >= '0' && version[n] <= '9') ++n;
    if (n == 0) return std::nullopt;
    long long value = 0;
    auto [ptr, ec] = std::from_chars(version.data(), version.data() + n, value);
    if (ec != std::errc() || ptr != version.data() + n) return std::nullopt;
    if (value >= 13 && value <= 99) return "SketchUp 20" + std::to_string(value);
    return "SketchUp " + std::to_string(value);
}

std::optional<std::vector<uint8_t>> SKPFileInfo::thumbnail(std::span<const uint8_t> header) {
    static const uint8_t signature[] = {0x89, 0x50, 0x4E, 0x47, 0x0D, 0x0A, 0x1A, 0x0A};
    size_t s = find(header, Bytes(signature));
    if (s == std::string_view::npos) return std::nullopt;
    size_t iend = find(header, bytes("IEND"), s + sizeof signature);
    if (iend == std::string_view::npos) return std::nullopt;
    size_t end = iend + 4 + 4;
    // Carved, not parsed: chunk lengths and CRCs are not checked, so a header whose PNG is cut
    // up by other data yields those bytes all the same.
    if (end > header.size()) return std::nullopt;
    return std::vector<uint8_t>(header.begin() + ptrdiff_t(s), header.begin() + ptrdiff_t(end));
}

std::optional<std::string> SKPFileInfo::parseDWGVersion(std::span<const uint8_t> header) {
    if (header.size() < 6) return std::nullopt;
    for (size_t i = 0; i < 6; ++i)
        if (header[i] >= 0x80) return std::nullopt;
    std::string code(reinterpret_cast<const char*>(header.data()), 6);
    if (!code.starts_with("AC10")) return std::nullopt;
    for (size_t i = 4; i < 6; ++i) {
        char c = code[i];
        bool alnum = (c >= '0' && c <= '9') || (c >= 'A' && c <= 'Z') || (c >= 'a' && c <= 'z');
        if (!alnum) return std::nullopt;
    }
    return code;
}

std::string SKPFileInfo::dwgLabel(const std::string& code, bool isDXF) {
    static const std::pair<const char*, const char*> releases[] = {
        {"AC1006", "R10"},  {"AC1009", "R11/R12"}, {"AC1012", "R13"},  {"AC1014", "R14"},
        {"AC1015", "2000"}, {"AC1018", "2004"},    {"AC1021", "2007"}, {"AC1024", "2010"},
        {"AC1027", "2013"}, {"AC1032", "2018"}};
    std::string prefix = isDXF ? "AutoCAD DXF" : "AutoCAD";
    for (auto& [c, release] : releases)
        if (code == c) return prefix + " " + release;
    return isDXF ? "AutoCAD DXF" : "AutoCAD DWG";
}

bool SKPFileInfo::isBinaryDXF(std::span<const uint8_t> header) {
    static constexpr std::string_view prefix = binaryDXFPrefix;
    return header.size() >= prefix.size() &&
           std::memcmp(header.data(), prefix.data(), prefix.size()) == 0;
}

std::optional<std::pair<std::string, std::string>> SKPFileInfo::parseDXFVersion(
    std::span<const uint8_t> header, const std::filesystem::path& url) {
    const bool e = lowercaseExtension(url) == "dxf";
    if (isBinaryDXF(header))
        return std::pair<std::string, std::string>{"DXF", "AutoCAD Binary DXF"};
    Bytes head = header.first(std::min<size_t>(header.size(), 32'768));
    // UTF-8 or, failing that, ISO Latin-1: Latin-1 decodes any byte sequence and the markers
    // searched below are ASCII, so both read the same here and the raw bytes serve as text.
    std::string_view text(reinterpret_cast<const char*>(head.data()), head.size());
    auto contains = [&](std::string_view s) { return text.find(s) != std::string_view::npos; };
    if (contains("SECTION")) {
        if (!(contains("HEADER") || contains("ENTITIES") || contains("TABLES") || e))
            return std::nullopt;
    } else if (!e) {
        return std::nullopt;
    }
    const std::pair<std::string, std::string> unknown{"DXF", "AutoCAD DXF"};
    size_t at = text.find("$ACADVER");
    if (at == std::string_view::npos) return unknown;
    size_t i = at + 8;
    for (int piece = 0; piece < 4; ++piece) {
        while (i < text.size() && isSpace(text[i])) ++i;
        if (i >= text.size()) break;
        size_t start = i;
        while (i < text.size() && !isSpace(text[i])) ++i;
        std::string_view p = text.substr(start, i - start);
        if (p.size() == 6 && p.starts_with("AC10")) {
            std::string code(p);
            return std::pair<std::string, std::string>{code, dwgLabel(code, true)};
        }
    }
    return unknown;
}

}  // namespace vistrel

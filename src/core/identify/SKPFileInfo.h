// What a file's first bytes say: format, version, a label for people, an embedded thumbnail.
// Works on at most 1 MiB of header and never needs a closed library; content decides first,
// the extension only where the content is silent.
#pragma once

#include <cstdint>
#include <filesystem>
#include <optional>
#include <span>
#include <string>
#include <utility>
#include <vector>

namespace vistrel {

struct SKPFileInfo {
    std::filesystem::path url;
    int64_t fileSize = 0;
    // SketchUp: "24.0.553"; DWG/DXF: "AC1032"; a DXF of unknown version: "DXF".
    std::optional<std::string> version;
    std::optional<std::string> versionLabel;
    // A complete PNG carved from the header.
    std::optional<std::vector<uint8_t>> thumbnailPNG;

    static constexpr size_t maxHeaderBytes = 1'048'576;

    bool isDXF() const;
    bool isDWG() const;
    bool isCAD() const { return isDWG() || isDXF(); }

    // Reads at most maxHeaderBytes and parses them. Throws SKPError::unreadable when the file
    // cannot be opened or read.
    static SKPFileInfo read(const std::filesystem::path& url);
    // Total: never fails.
    static SKPFileInfo parse(std::span<const uint8_t> header, const std::filesystem::path& url,
                             int64_t fileSize);

    // SketchUp's UTF-16LE "SketchUp Model{version}" marker.
    static std::optional<std::string> parseVersion(std::span<const uint8_t> header);
    static std::optional<std::string> label(const std::string& version);
    // The first PNG signature through the first "IEND" after it and the four bytes after that.
    static std::optional<std::vector<uint8_t>> thumbnail(std::span<const uint8_t> header);
    // "AC10" and two ASCII letters or digits at the very start.
    static std::optional<std::string> parseDWGVersion(std::span<const uint8_t> header);
    static std::string dwgLabel(const std::string& code, bool isDXF);
    // Binary DXF opens with this prefix; the full sentinel goes on with "\r\n\x1a\0". The one
    // test for binary DXF, shared by identification and the DXF reader, so that a file labelled
    // binary is read as binary.
    static constexpr const char* binaryDXFPrefix = "AutoCAD Binary DXF";
    static bool isBinaryDXF(std::span<const uint8_t> header);
    static std::optional<std::pair<std::string, std::string>> parseDXFVersion(
        std::span<const uint8_t> header, const std::filesystem::path& url);

    friend bool operator==(const SKPFileInfo&, const SKPFileInfo&) = default;
};

// Lower-cased extension without the dot ("dxf"), empty when none.
std::string lowercaseExtension(const std::filesystem::path& url);

}  // namespace vistrel

// Buffered writer of DXF tags for the generators: codes right-aligned as AutoCAD writes them,
// numbers locale-free. Throws std::runtime_error when the file cannot be opened or written.
#pragma once

#include <charconv>
#include <cstdint>
#include <cstdio>
#include <filesystem>
#include <stdexcept>
#include <string>
#include <string_view>

namespace vistrel::tools {

class DXFTagWriter {
  public:
    explicit DXFTagWriter(const std::filesystem::path& path)
        : file_(std::fopen(path.c_str(), "wb")) {
        if (!file_) throw std::runtime_error("cannot write " + path.string());
        buffer_.reserve(capacity + 256);
    }
    DXFTagWriter(const DXFTagWriter&) = delete;
    DXFTagWriter& operator=(const DXFTagWriter&) = delete;
    ~DXFTagWriter() {
        if (file_) std::fclose(file_);
    }
    void close() {
        flush();
        if (std::fclose(file_) != 0) {
            file_ = nullptr;
            throw std::runtime_error("write failed");
        }
        file_ = nullptr;
    }
    void code(int c) {
        char tmp[16];
        auto r = std::to_chars(tmp, tmp + sizeof tmp, c);
        // Codes are right-aligned in three columns, as AutoCAD writes them.
        for (auto n = r.ptr - tmp; n < 3; ++n) buffer_ += ' ';
        buffer_.append(tmp, r.ptr);
        buffer_ += '\n';
    }
    void text(int c, std::string_view value) {
        code(c);
        buffer_ += value;
        buffer_ += '\n';
        maybeFlush();
    }
    void integer(int c, long long value) {
        code(c);
        char tmp[24];
        auto r = std::to_chars(tmp, tmp + sizeof tmp, value);
        buffer_.append(tmp, r.ptr);
        buffer_ += '\n';
        maybeFlush();
    }
    void real(int c, double value) {
        code(c);
        char tmp[48];
        auto r = std::to_chars(tmp, tmp + sizeof tmp, value, std::chars_format::fixed, 4);
        buffer_.append(tmp, r.ptr);
        buffer_ += '\n';
        maybeFlush();
    }
    void point(int c, double x, double y, double z) {
        real(c, x);
        real(c + 10, y);
        real(c + 20, z);
    }
    void handle(uint64_t h) {
        code(5);
        char tmp[24];
        auto r = std::to_chars(tmp, tmp + sizeof tmp, h, 16);
        for (char* p = tmp; p < r.ptr; ++p)
            if (*p >= 'a') *p = char(*p - 32);
        buffer_.append(tmp, r.ptr);
        buffer_ += '\n';
    }
    // A fresh handle, counting up from 0x100.
    void nextHandle() { handle(nextHandle_++); }
    uint64_t written() const { return flushed_ + buffer_.size(); }

    // The HEADER section of a release 2000 file: base at the origin, drawing unit `insUnits`.
    void header(int insUnits, std::string_view codePage = {}) {
        text(0, "SECTION");
        text(2, "HEADER");
        text(9, "$ACADVER");
        text(1, "AC1015");
        if (!codePage.empty()) {
            text(9, "$DWGCODEPAGE");
            text(3, codePage);
        }
        text(9, "$INSBASE");
        point(10, 0, 0, 0);
        text(9, "$INSUNITS");
        integer(70, insUnits);
        text(0, "ENDSEC");
    }
    // The TABLES section holding only the layer table; `count` layer() calls go between.
    void beginLayerTable(int count) {
        text(0, "SECTION");
        text(2, "TABLES");
        text(0, "TABLE");
        text(2, "LAYER");
        handle(2);
        text(100, "AcDbSymbolTable");
        integer(70, count);
    }
    void layer(std::string_view name, int flags, int color) {
        text(0, "LAYER");
        nextHandle();
        text(100, "AcDbSymbolTableRecord");
        text(100, "AcDbLayerTableRecord");
        text(2, name);
        integer(70, flags);
        integer(62, color);
        text(6, "CONTINUOUS");
    }
    void endLayerTable() {
        text(0, "ENDTAB");
        text(0, "ENDSEC");
    }
    void beginBlock(std::string_view name, double baseX = 0, double baseY = 0) {
        text(0, "BLOCK");
        nextHandle();
        text(100, "AcDbEntity");
        text(8, "0");
        text(100, "AcDbBlockBegin");
        text(2, name);
        integer(70, 0);
        point(10, baseX, baseY, 0);
        text(3, name);
    }
    void endBlock() {
        text(0, "ENDBLK");
        nextHandle();
        text(100, "AcDbEntity");
        text(8, "0");
        text(100, "AcDbBlockEnd");
    }

  private:
    static constexpr size_t capacity = 1 << 20;
    void maybeFlush() {
        if (buffer_.size() >= capacity) flush();
    }
    void flush() {
        if (!buffer_.empty() &&
            std::fwrite(buffer_.data(), 1, buffer_.size(), file_) != buffer_.size())
            throw std::runtime_error("write failed");
        flushed_ += buffer_.size();
        buffer_.clear();
    }
    std::FILE* file_;
    std::string buffer_;
    uint64_t flushed_ = 0;
    uint64_t nextHandle_ = 0x100;
};

}  // namespace vistrel::tools

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
    uint64_t written() const { return flushed_ + buffer_.size(); }

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
};

}  // namespace vistrel::tools

#include "LineReader.h"

#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstring>

namespace vistrel::mcp {

namespace {
constexpr std::size_t kChunk = 1 << 16;
}

LineReader::LineReader(int fd, std::size_t maxLength)
    : fd_(fd), maxLength_(maxLength), buffer_(kChunk) {}

bool LineReader::fill() {
    if (finished_) return false;
    for (;;) {
        const ssize_t n = ::read(fd_, buffer_.data(), buffer_.size());
        if (n < 0 && errno == EINTR) continue;
        if (n <= 0) {
            finished_ = true;
            return false;
        }
        begin_ = 0;
        end_ = std::size_t(n);
        return true;
    }
}

LineReader::Result LineReader::next(std::string& line) {
    line.clear();
    bool overlong = false;
    bool any = false;
    for (;;) {
        if (begin_ == end_ && !fill()) {
            if (overlong) return Result::tooLong;
            if (!any) return Result::end;
            break;
        }
        any = true;
        const char* start = buffer_.data() + begin_;
        const std::size_t available = end_ - begin_;
        const void* found = std::memchr(start, '\n', available);
        const std::size_t take =
            found ? std::size_t(static_cast<const char*>(found) - start) : available;
        if (!overlong && line.size() + take > maxLength_ + 1) {
            // One byte of slack for a "\r" before the newline.
            overlong = true;
            line.clear();
            line.shrink_to_fit();
        }
        if (!overlong) {
            // Growth stops at the cap, so a line just under it takes no buffer twice its size.
            if (const std::size_t needed = line.size() + take; needed > line.capacity())
                line.reserve(std::min(std::max(needed, 2 * line.capacity()), maxLength_ + 1));
            line.append(start, take);
        }
        begin_ += found ? take + 1 : take;
        if (found) {
            if (overlong) return Result::tooLong;
            break;
        }
    }
    if (!line.empty() && line.back() == '\r') line.pop_back();
    if (line.size() > maxLength_) {
        line.clear();
        return Result::tooLong;
    }
    return Result::line;
}

}  // namespace vistrel::mcp

// Newline-delimited messages read from a file descriptor, with a cap on the length of one line:
// a longer line is read through in chunks and dropped, so it never sits in memory whole.
#pragma once

#include <cstddef>
#include <string>
#include <vector>

namespace vistrel::mcp {

class LineReader {
  public:
    enum class Result { line, tooLong, end };

    // Reads from `fd`, which the caller keeps open; lines longer than `maxLength` bytes (without
    // the newline) are refused.
    LineReader(int fd, std::size_t maxLength);

    // The next line into `line`, without its "\n" or "\r\n". `tooLong` when a line went over the
    // cap (its bytes are gone, `line` is empty); `end` at the end of input or on a read error. A
    // last line without a newline still counts as a line.
    Result next(std::string& line);

  private:
    bool fill();

    int fd_;
    std::size_t maxLength_;
    std::vector<char> buffer_;
    std::size_t begin_ = 0, end_ = 0;
    bool finished_ = false;
};

}  // namespace vistrel::mcp

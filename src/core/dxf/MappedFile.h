// A whole file mapped read-only into memory, for readers that scan large inputs once.
//
// The file may shrink while mapped (another program rewrites it, a network file system fails a
// read); touching a page that has gone would end the process with SIGBUS. Such pages are
// replaced by zeros instead, and damaged() turns true: what the bytes then say is no longer the
// file, and the reader must give up on them.
#pragma once

#include <cstddef>
#include <cstdint>
#include <filesystem>
#include <span>

namespace vistrel {

class MappedFile {
  public:
    // Throws SKPError::unreadable when the file cannot be opened, stat'ed or mapped. An empty
    // file maps to an empty span.
    explicit MappedFile(const std::filesystem::path& url);
    ~MappedFile();
    MappedFile(const MappedFile&) = delete;
    MappedFile& operator=(const MappedFile&) = delete;

    std::span<const uint8_t> bytes() const { return {data_, size_}; }

    // True once a page could not be read from the file and reads as zeros.
    bool damaged() const;

    // Hints that [0, offset) will not be read again soon, so its pages may leave memory. Reading
    // them afterwards stays valid: they come back from the file.
    void releaseBefore(size_t offset) const;

  private:
    const uint8_t* data_ = nullptr;
    size_t size_ = 0;
    int slot_ = -1;  // in the table of mappings the SIGBUS handler repairs
};

}  // namespace vistrel

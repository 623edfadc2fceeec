// A whole file mapped read-only into memory, for readers that scan large inputs once.
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

    // Hints that [0, offset) will not be read again soon, so its pages may leave memory. Reading
    // them afterwards stays valid: they come back from the file.
    void releaseBefore(size_t offset) const;

  private:
    const uint8_t* data_ = nullptr;
    size_t size_ = 0;
};

}  // namespace vistrel

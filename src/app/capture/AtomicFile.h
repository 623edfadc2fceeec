// Writing a whole file so that readers see either the old file or the new one, never a part.
#pragma once

#include <cstdint>
#include <filesystem>
#include <optional>
#include <string>
#include <vector>

namespace vistrel::app::AtomicFile {

// Writes `bytes` to a new file beside `path`, flushes it to the disk and renames it over `path`,
// keeping the old file's permissions. On any failure (missing or read-only folder, full disk)
// the temporary file is removed and what was at `path` stays as it was. Returns the system's
// reason on failure.
std::optional<std::string> write(const std::vector<std::uint8_t>& bytes,
                                 const std::filesystem::path& path);

}  // namespace vistrel::app::AtomicFile

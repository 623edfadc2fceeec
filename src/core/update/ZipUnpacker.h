// Unpacks a zip archive into a folder, keeping symbolic links and permissions. An entry that
// would land outside the folder (an absolute path, a ".." component, a link whose target leaves
// it, or a path through a link) stops the unpacking with UpdateError badArchive, as does an
// unreadable or truncated archive. What was written before the failure stays; the caller owns
// the folder.
#pragma once

#include <filesystem>

namespace vistrel {

class ZipUnpacker {
  public:
    static void unpack(const std::filesystem::path& archive,
                       const std::filesystem::path& destination);
};

}  // namespace vistrel

// The per-user folder for files the program writes while it runs (exported textures), and the
// share of it that belongs to one process.
//
// The folder is $XDG_RUNTIME_DIR/vistrel, else <system temp>/vistrel-<uid>, mode 0700. Each
// process works in a subfolder named after its pid and holds an flock on "<pid>.lock" beside
// it for as long as it lives, so a clean-up by another copy removes only what no running
// process owns. No Qt here: the SketchUp reader writes into it from its worker.
#pragma once

#include <filesystem>
#include <optional>
#include <string>

namespace vistrel {

class TemporaryFolder {
  public:
    // The per-user folder, created or repaired (owner-only modes) on first use. Nothing when
    // it cannot be made private: it is a link, or someone else owns it.
    static std::optional<std::filesystem::path> userFolder();
    // Creates `folder` with mode 0700, or narrows an existing one of ours to 0700. Refuses a
    // link, a non-folder and a folder owned by another user.
    static bool makePrivate(const std::filesystem::path& folder);

    // This process's subfolder of userFolder(), claimed on first use and held until exit
    // (claimed again if it disappears).
    static std::optional<std::filesystem::path> forThisProcess();

    // Claims `root`/`name` for as long as the returned object lives. Nothing when another
    // holder has it or it cannot be made.
    static std::optional<TemporaryFolder> claim(const std::filesystem::path& root,
                                                const std::string& name);

    // Removes every subfolder of `root` whose lock no live process holds, with its lock file.
    static void removeAbandoned(const std::filesystem::path& root);

    TemporaryFolder(TemporaryFolder&& other) noexcept;
    TemporaryFolder& operator=(TemporaryFolder&& other) noexcept;
    TemporaryFolder(const TemporaryFolder&) = delete;
    TemporaryFolder& operator=(const TemporaryFolder&) = delete;
    // Releases the lock; the files stay for their owner or the next clean-up.
    ~TemporaryFolder();

    const std::filesystem::path& path() const { return path_; }

  private:
    TemporaryFolder(std::filesystem::path path, int lockFd)
        : path_(std::move(path)), lockFd_(lockFd) {}
    std::filesystem::path path_;
    int lockFd_ = -1;
};

}  // namespace vistrel

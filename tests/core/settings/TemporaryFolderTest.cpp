#include "settings/TemporaryFolder.h"

#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include <fstream>

#include "TestEnv.h"

using namespace vistrel;
namespace fs = std::filesystem;

namespace {

unsigned modeOf(const fs::path& p) {
    struct stat st {};
    return ::lstat(p.c_str(), &st) == 0 ? st.st_mode & 07777 : 0;
}

}  // namespace

// The folder used to be /tmp/Vistrel for everyone: shared between users and open to all.
TEST(TemporaryFolder, userFolderIsPrivateAndRefusesALinkOrAnotherOwner) {
    test::TempDir dir;
    {
        test::ScopedEnv runtime("XDG_RUNTIME_DIR", dir.path().c_str());
        EXPECT_EQ(TemporaryFolder::userFolder(), dir / "vistrel");
        EXPECT_EQ(modeOf(dir / "vistrel"), 0700u);
    }
    {
        test::ScopedEnv runtime("XDG_RUNTIME_DIR", nullptr);
        test::ScopedEnv tmp("TMPDIR", dir.path().c_str());
        const auto folder = dir / ("vistrel-" + std::to_string(::getuid()));
        fs::create_directory(folder);
        ::chmod(folder.c_str(), 0777);
        EXPECT_EQ(TemporaryFolder::userFolder(), folder);
        EXPECT_EQ(modeOf(folder), 0700u) << "a folder of ours with wider modes is narrowed";
    }
    fs::create_directory_symlink(dir.path(), dir / "link");
    EXPECT_FALSE(TemporaryFolder::makePrivate(dir / "link"));
    std::ofstream(dir / "file") << "x";
    EXPECT_FALSE(TemporaryFolder::makePrivate(dir / "file"));
    const auto theirs = dir / "theirs";
    fs::create_directory(theirs);
    const bool given = ::chown(theirs.c_str(), 65534, 65534) == 0;  // only root can give it away
    EXPECT_FALSE(TemporaryFolder::makePrivate(given ? theirs : fs::path("/"))) << "not ours";
}

// A second launch used to delete the whole folder, with a running copy's textures in it.
TEST(TemporaryFolder, cleanUpRemovesOnlyWhatNoRunningCopyHolds) {
    test::TempDir root;
    auto running = TemporaryFolder::claim(root.path(), "4242");
    ASSERT_TRUE(running);
    EXPECT_FALSE(TemporaryFolder::claim(root.path(), "4242")) << "one holder at a time";
    std::ofstream(running->path() / "0.png") << "texture";
    auto ended = TemporaryFolder::claim(root.path(), "17");
    ASSERT_TRUE(ended);
    std::ofstream(ended->path() / "1.png") << "texture";
    const fs::path endedPath = ended->path();
    ended.reset();  // the process ended with its files still there
    fs::create_directories(root / "crashed-without-lock" / "a");
    std::ofstream(root / "99.lock") << "";

    TemporaryFolder::removeAbandoned(root.path());
    EXPECT_TRUE(fs::exists(running->path() / "0.png") && fs::exists(root / "4242.lock"));
    for (const fs::path& gone : {endedPath, root / "17.lock", root / "crashed-without-lock"})
        EXPECT_FALSE(fs::exists(gone)) << gone;
    EXPECT_FALSE(fs::exists(root / "99.lock"));

    running.reset();
    TemporaryFolder::removeAbandoned(root.path());
    EXPECT_TRUE(fs::is_empty(root.path()));
}

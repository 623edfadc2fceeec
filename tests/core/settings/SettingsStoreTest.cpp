#include "settings/SettingsStore.h"

#include <gtest/gtest.h>

#include <fstream>
#include <thread>

#include "TestEnv.h"

using namespace vistrel;
using namespace std::chrono_literals;

TEST(SettingsStore, defaultsAnswerUntilStoredValuesSurviveARestartAndACorruptFileIsKeptAside) {
    test::TempDir dir;
    auto file = dir / "sub" / "settings.json";
    {
        SettingsStore store(file);
        store.registerDefaults({{"showsGrid", false}});
        EXPECT_FALSE(store.contains("showsGrid") || store.value("unknown"));
        store.set("showsGrid", true);
        store.set("backdropStyle", "studio");
        store.remove("showsGrid");
        EXPECT_EQ(store.value("showsGrid"), false) << "the default again";
    }
    SettingsStore again(file);
    EXPECT_TRUE(again.value("backdropStyle") == "studio" && !again.contains("showsGrid"));
    for (auto& e : std::filesystem::directory_iterator(file.parent_path()))
        EXPECT_TRUE(e.path() == file || e.path().extension() == ".lock") << e.path();

    for (const char* bad : {"{\"showsGrid\": tru", "[1, 2, 3]", "\xff\xfe garbage"}) {
        { std::ofstream(dir / "settings.json") << bad; }
        SettingsStore store(dir / "settings.json");
        store.registerDefaults({{"showsGrid", false}});
        EXPECT_EQ(store.value("showsGrid"), false);
        ASSERT_TRUE(store.quarantinedFile().has_value()) << bad;
        std::ifstream kept(*store.quarantinedFile());
        EXPECT_EQ(std::string(std::istreambuf_iterator<char>(kept), {}), bad);
        EXPECT_FALSE(std::filesystem::exists(dir / "settings.json"));
        std::filesystem::remove(*store.quarantinedFile());
    }

    std::ofstream(dir / "config") << "a file where the folder should be";
    const auto blocked = dir / "config" / "settings.json";
    SettingsStore store(blocked, 1h);
    store.set("showsGrid", true);
    EXPECT_TRUE(!store.flush() && store.value("showsGrid") == true);
    std::filesystem::remove(dir / "config");
    EXPECT_TRUE(store.flush());
    EXPECT_EQ(SettingsStore(blocked).value("showsGrid"), true);
}

// Two running copies used to rewrite the whole file from memory, each dropping the other's keys.
TEST(SettingsStore, twoCopiesOnOneFileKeepEachOthersChanges) {
    test::TempDir dir;
    auto file = dir / "settings.json";
    { std::ofstream(file) << R"({"oscOutPort": 9000, "showsGrid": true, "oscOutHost": "a"})"; }
    SettingsStore first(file, 1h), second(file, 1h);
    first.set("backdropStyle", "studio");
    first.remove("showsGrid");
    second.set("showsEdges", false);
    second.set("oscOutPort", 9200);
    ASSERT_TRUE(first.flush());
    ASSERT_TRUE(second.flush());
    first.set("oscOutHost", "b");  // a later change of a key the other copy also holds
    ASSERT_TRUE(first.flush());
    SettingsStore reread(file);
    EXPECT_FALSE(reread.contains("showsGrid")) << "a removal is a change too";
    EXPECT_TRUE(reread.value("backdropStyle") == "studio" && reread.value("showsEdges") == false);
    EXPECT_TRUE(reread.value("oscOutPort") == 9200 && reread.value("oscOutHost") == "b");
}

// Each set used to fsync the file on the caller's thread: a dragged slider stuttered.
TEST(SettingsStore, aBurstOfSetsLeavesTheCallerAndBecomesOneWrite) {
    test::TempDir dir;
    {
        SettingsStore store(dir / "settings.json", 1h);
        for (int i = 0; i <= 100; ++i) store.set("customBackdropR", i / 100.0);
        EXPECT_EQ(store.writeCount(), 0) << "no write on the caller's thread";
        EXPECT_TRUE(store.flush() && store.flush());
        EXPECT_EQ(store.writeCount(), 1) << "the second flush had nothing to write";
        store.set("showsGrid", true);
    }  // the destructor flushes
    EXPECT_EQ(SettingsStore(dir / "settings.json").value("showsGrid"), true);

    // The writer itself gathers a burst into one write after its delay.
    SettingsStore store(dir / "settings.json", 300ms);
    for (int i = 0; i < 20; ++i) store.set("customBackdropG", i);
    for (int wait = 0; wait < 500 && store.writeCount() == 0; ++wait)
        std::this_thread::sleep_for(10ms);
    EXPECT_EQ(store.writeCount(), 1);
    EXPECT_EQ(SettingsStore(dir / "settings.json").value("customBackdropG"), 19);
}

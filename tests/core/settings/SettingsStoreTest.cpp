#include "settings/SettingsStore.h"

#include <gtest/gtest.h>

#include <fstream>
#include <thread>

#include "TestEnv.h"

using namespace vistrel;

TEST(SettingsStore, defaultsAnswerUntilAValueIsStoredAndAfterItIsRemoved) {
    test::TempDir dir;
    SettingsStore store(dir / "settings.json");
    store.registerDefaults({{"showsGrid", false}, {"oscOutPort", 9151}});
    EXPECT_EQ(store.value("showsGrid"), false);
    EXPECT_FALSE(store.contains("showsGrid"));
    EXPECT_EQ(store.value("unknown"), std::nullopt);
    ASSERT_TRUE(store.set("showsGrid", true));
    EXPECT_EQ(store.value("showsGrid"), true);
    EXPECT_TRUE(store.contains("showsGrid"));
    store.remove("showsGrid");
    EXPECT_EQ(store.value("showsGrid"), false);
}

TEST(SettingsStore, valuesSurviveARestartAndNoTemporaryFileIsLeft) {
    test::TempDir dir;
    auto file = dir / "sub" / "settings.json";
    {
        SettingsStore store(file);
        store.set("backdropStyle", "studio");
        store.set("ambientOcclusionIntensity", 0.25);
    }
    SettingsStore again(file);
    EXPECT_EQ(again.value("backdropStyle"), "studio");
    EXPECT_DOUBLE_EQ(again.value("ambientOcclusionIntensity")->get<double>(), 0.25);
    int entries = 0;
    for (auto& e : std::filesystem::directory_iterator(file.parent_path())) (void)e, ++entries;
    EXPECT_EQ(entries, 1);
}

TEST(SettingsStore, corruptFileGivesDefaultsAndIsKeptAside) {
    test::TempDir dir;
    auto file = dir / "settings.json";
    for (const char* bad : {"{\"showsGrid\": tru", "[1, 2, 3]", "\xff\xfe garbage"}) {
        SCOPED_TRACE(bad);
        { std::ofstream(file) << bad; }
        SettingsStore store(file);
        store.registerDefaults({{"showsGrid", false}});
        EXPECT_EQ(store.value("showsGrid"), false);
        ASSERT_TRUE(store.quarantinedFile().has_value());
        std::ifstream kept(*store.quarantinedFile());
        std::string content((std::istreambuf_iterator<char>(kept)), {});
        EXPECT_EQ(content, bad);
        EXPECT_FALSE(std::filesystem::exists(file));
        std::filesystem::remove(*store.quarantinedFile());
    }
}

TEST(SettingsStore, unwritableFolderKeepsValuesInMemory) {
    if (::geteuid() == 0) GTEST_SKIP() << "root can write anywhere";
    test::TempDir dir;
    std::filesystem::permissions(
        dir.path(), std::filesystem::perms::owner_read | std::filesystem::perms::owner_exec);
    SettingsStore store(dir / "settings.json");
    EXPECT_FALSE(store.set("showsGrid", true));
    EXPECT_EQ(store.value("showsGrid"), true);
    std::filesystem::permissions(dir.path(), std::filesystem::perms::owner_all);
}

TEST(SettingsStore, concurrentWritersLeaveAValidFile) {
    test::TempDir dir;
    auto file = dir / "settings.json";
    {
        SettingsStore store(file);
        std::vector<std::thread> threads;
        for (int t = 0; t < 4; ++t)
            threads.emplace_back([&store, t] {
                for (int i = 0; i < 50; ++i) {
                    store.set("k" + std::to_string(t), i);
                    (void)store.value("k0");
                }
            });
        for (auto& th : threads) th.join();
    }
    SettingsStore reread(file);
    EXPECT_FALSE(reread.quarantinedFile().has_value());
    for (int t = 0; t < 4; ++t) EXPECT_EQ(reread.value("k" + std::to_string(t)), 49);
}

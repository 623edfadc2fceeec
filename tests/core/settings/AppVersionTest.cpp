#include "settings/AppVersion.h"

#include <gtest/gtest.h>

using namespace vistrel;

TEST(AppVersion, foreignIdentifierOrPlaceholdersFallBack) {
    EXPECT_EQ(AppVersion::resolve("org.vistrel.viewer", "1.2.0", "42").display(), "1.2.0 (42)");
    EXPECT_EQ(AppVersion::resolve("com.example.host", "1.2.0", "42").display(), "1.1.0");
    EXPECT_EQ(AppVersion::resolve("", "1.2.0", "42").display(), "1.1.0");
    EXPECT_EQ(AppVersion::resolve("org.vistrel.viewer", " 2.0.1\n", "\t7 ").display(), "2.0.1 (7)");
    EXPECT_EQ(AppVersion::resolve("org.vistrel.viewer", "@VERSION@", "@BUILD@").display(), "1.1.0");
    EXPECT_EQ(AppVersion::resolve("org.vistrel.viewer", "  ", std::nullopt).display(), "1.1.0");
}

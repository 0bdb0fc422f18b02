#include "platform/private_library.h"

#include <gtest/gtest.h>

#include <filesystem>

#include "tests/platform/loaded_library.h"

using platform::PrivateLibrary;

TEST(PrivateLibrary, IsFoundByItsPath) {
    const PrivateLibrary library(std::filesystem::path(Q7_LIBRARY).make_preferred().string());
    ASSERT_TRUE(library.isLoaded());
    auto* const version = library.find<const char*()>("Q7GetPluginVersion");
    ASSERT_NE(version, nullptr);
    EXPECT_STREQ(version(), "0.5.7.0");
    EXPECT_EQ(library.find<void()>("noSuchFunction"), nullptr);
}

TEST(PrivateLibrary, LivesAsLongAsTheObject) {
    LoadedLibrary same(Q7_LIBRARY);
    same.unload();
    ASSERT_FALSE(same.isInProcess());
    {
        const PrivateLibrary library(std::filesystem::path(Q7_LIBRARY).make_preferred().string());
        EXPECT_TRUE(same.isInProcess());
    }
    EXPECT_FALSE(same.isInProcess());
}

TEST(PrivateLibrary, ThatIsNowhereHasNoFunctions) {
    const PrivateLibrary library("no such library");
    EXPECT_FALSE(library.isLoaded());
    EXPECT_EQ(library.find<void()>("anything"), nullptr);
}

#if defined(_WIN32)

// In the working directory that of a stranger's scene would do.
TEST(PrivateLibrary, TakesNothingFromTheWorkingDirectory) {
    const auto before = std::filesystem::current_path();
    const auto needed = std::filesystem::path(Q7_NEEDED_LIBRARY);
    std::filesystem::current_path(needed.parent_path());
    EXPECT_FALSE(PrivateLibrary("q7test_needing.dll").isLoaded());
    EXPECT_FALSE(PrivateLibrary(needed.filename().string()).isLoaded());
    std::filesystem::current_path(before);
    const LoadedLibrary loaded(needed);
    EXPECT_TRUE(PrivateLibrary("q7test_needing.dll").isLoaded());
}

#endif

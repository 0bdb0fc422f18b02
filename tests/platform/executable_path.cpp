#include "platform/executable_path.h"

#include <gtest/gtest.h>

TEST(ExecutablePath, IsThatOfTheTests) {
    const std::filesystem::path path = platform::executablePath();
    EXPECT_TRUE(path.is_absolute()) << path;
    EXPECT_TRUE(std::filesystem::is_regular_file(path)) << path;
    EXPECT_EQ(path.stem(), "q7core_tests");
}

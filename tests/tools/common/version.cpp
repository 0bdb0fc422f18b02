#include "common/version.h"

#include <gtest/gtest.h>

namespace {

// tests/tools/inspect/run_inspect.py compares the number with that of the project.
TEST(Version, isThatOfTheProjectBehindTheProgram) {
    const std::string text = q7tools::versionText("q7-tool");
    ASSERT_TRUE(text.starts_with("q7-tool ")) << text;
    const std::string number = text.substr(8);
    EXPECT_FALSE(number.empty());
    EXPECT_EQ(number.find_first_not_of("0123456789."), std::string::npos) << number;
}

}  // namespace

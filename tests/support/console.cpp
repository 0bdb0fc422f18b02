#include "support/console.h"

#include <gtest/gtest.h>

TEST(PrintLine, WritesTheTextAndALineEnd) {
    testing::internal::CaptureStdout();
    printLine("one");
    printLine("two\n");
    EXPECT_EQ(testing::internal::GetCapturedStdout(), "one\ntwo\n\n");
}

TEST(PrintErrorLine, WritesTheTextAndALineEndToStandardError) {
    testing::internal::CaptureStdout();
    testing::internal::CaptureStderr();
    printErrorLine("one");
    printErrorLine("");
    EXPECT_EQ(testing::internal::GetCapturedStderr(), "one\n\n");
    EXPECT_EQ(testing::internal::GetCapturedStdout(), "");
}

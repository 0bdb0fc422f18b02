#include "support/console.h"

#include <gtest/gtest.h>

TEST(PrintLine, WritesTheTextAndALineEnd) {
    testing::internal::CaptureStdout();
    printLine("one");
    printLine("two\n");
    EXPECT_EQ(testing::internal::GetCapturedStdout(), "one\ntwo\n\n");
}

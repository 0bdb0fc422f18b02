#include "common/json_depth.h"

#include <gtest/gtest.h>

namespace {

using q7tools::jsonDepth;

TEST(JsonDepth, countsWhatIsOpen) {
    EXPECT_EQ(jsonDepth(""), 0U);
    EXPECT_EQ(jsonDepth("7"), 0U);
    EXPECT_EQ(jsonDepth("{}"), 1U);
    EXPECT_EQ(jsonDepth("[{},{},[]]"), 2U);
    EXPECT_EQ(jsonDepth("[[[]],{\"a\":[]}]"), 3U);
}

TEST(JsonDepth, stringsHoldNothing) {
    EXPECT_EQ(jsonDepth("\"[[[\""), 0U);
    EXPECT_EQ(jsonDepth("{\"\\\"[\":\"\\\\\",\"a\":[]}"), 2U);
}

TEST(JsonDepth, brokenTextsHaveSomeDepth) {
    EXPECT_EQ(jsonDepth("[[["), 3U);
    EXPECT_EQ(jsonDepth("]]][["), 2U);
    EXPECT_EQ(jsonDepth("[\"[["), 1U);
    EXPECT_EQ(jsonDepth("[\"\\"), 1U);
}

}  // namespace

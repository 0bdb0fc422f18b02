#include "env/guid_text.h"

#include <gtest/gtest.h>

#include <set>

TEST(NewGuidText, Is32UpperCaseHexadecimalDigits) {
    for (int i = 0; i < 100; ++i) {
        const std::string text = newGuidText();
        EXPECT_EQ(text.size(), 32U);
        EXPECT_EQ(text.find_first_not_of("0123456789ABCDEF"), std::string::npos) << text;
    }
}

TEST(NewGuidText, WritesTheBytesInTheirOrder) {
    const std::string text = newGuidText();
    // Where the third field begins stands the version, where the last eight bytes begin the variant.
    EXPECT_EQ(text[12], '4');
    EXPECT_NE(std::string("89AB").find(text[16]), std::string::npos) << text;
}

TEST(NewGuidText, IsAnotherOneEachTime) {
    std::set<std::string> seen;
    for (int i = 0; i < 1000; ++i)
        EXPECT_TRUE(seen.insert(newGuidText()).second);
}

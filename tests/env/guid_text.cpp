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

TEST(GuidText, ShowsEachByteWithTheHigherDigitFirst) {
    const platform::Guid guid = {0x01, 0x23, 0x45, 0x67, 0x89, 0xAB, 0xCD, 0xEF,
                                 0x00, 0x0F, 0xF0, 0xFF, 0x10, 0x32, 0x54, 0x76};
    EXPECT_EQ(guidText(guid), "0123456789ABCDEF000FF0FF10325476");
}

TEST(GuidText, IsEmptyWhenThereIsNone) {
    EXPECT_EQ(guidText(std::nullopt), "");
}

TEST(NewGuidText, IsAnotherOneEachTime) {
    std::set<std::string> seen;
    for (int i = 0; i < 1000; ++i)
        EXPECT_TRUE(seen.insert(newGuidText()).second);
}

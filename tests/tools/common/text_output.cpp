#include "common/text_output.h"

#include <gtest/gtest.h>

namespace {

using namespace q7tools;

TEST(TextOutput, allToUtf8GoesOnBehindAZero) {
    EXPECT_EQ(allToUtf8(u""), "");
    EXPECT_EQ(allToUtf8(u"caf\u00e9"), "caf\xc3\xa9");
    EXPECT_EQ(allToUtf8(std::u16string(u"\0a\0", 3)), std::string("\0a\0", 3));
    EXPECT_EQ(allToUtf8(u"a\xd800"), "a\xef\xbf\xbd");
}

TEST(TextOutput, printableShowsControlCharacters) {
    EXPECT_EQ(printable(u"plain \u6a21"), "plain \xe6\xa8\xa1");
    EXPECT_EQ(printable(u"a\x1b[31m\nb\u009b\u202e"), "a\\u001b[31m\\u000ab\\u009b\\u202e");
    EXPECT_EQ(printable(std::u16string(u"a\0b", 3)), "a\\u0000b");
    EXPECT_EQ(printable("x\ty\xff"), "x\\u0009y\xef\xbf\xbd");
    EXPECT_EQ(inQuotes(u"a\n"), "\"a\\u000a\"");
}

TEST(TextOutput, displayWidthCountsColumns) {
    EXPECT_EQ(displayWidth(""), 0U);
    EXPECT_EQ(displayWidth("abc"), 3U);
    EXPECT_EQ(displayWidth("\xc3\xa9"), 1U);
    EXPECT_EQ(displayWidth("e\xcc\x81"), 1U);          // with a combining accent
    EXPECT_EQ(displayWidth("\xe6\xa8\xa1"), 2U);       // an ideograph
    EXPECT_EQ(displayWidth("\xf0\x9f\x8f\xa0!"), 3U);  // a house, above U+FFFF
}

TEST(TextOutput, padsByColumns) {
    EXPECT_EQ(padRight("\xe6\xa8\xa1", 4), "\xe6\xa8\xa1  ");
    EXPECT_EQ(padLeft("12", 4), "  12");
    EXPECT_EQ(padRight("long", 2), "long");
    EXPECT_EQ(padLeft("long", 2), "long");
}

TEST(TextOutput, countsInWords) {
    EXPECT_EQ(counted(0, "mesh", "meshes"), "0 meshes");
    EXPECT_EQ(counted(1, "mesh", "meshes"), "1 mesh");
    EXPECT_EQ(counted(2, "mesh", "meshes"), "2 meshes");
}

TEST(TextOutput, anErrorIsOneLine) {
    EXPECT_EQ(errorLine("tool", "a\nb.x", atByte(12, "no end")),
              "tool: a\\u000ab.x: at byte 12: no end\n");
}

}  // namespace

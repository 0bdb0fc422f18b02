#include "send/clean_text.h"

#include <gtest/gtest.h>

namespace q7send {

TEST(CleanText, KeepsTextOfAnyScript) {
    EXPECT_EQ(cleanText("Zylinder \xC3\xBC \xE7\xAA\x93 \xF0\x9F\x9A\x97"), u"Zylinder ü 窓 🚗");
}

TEST(CleanText, FaultsOfUtf8BecomeReplacementCharacters) {
    EXPECT_EQ(cleanText("a\xFF"
                        "b\xC3"),
              u"a\uFFFDb\uFFFD");
}

TEST(CleanText, WhatXmlDoesNotKnowGoes) {
    EXPECT_EQ(cleanText(std::string_view("a\tb\0c\x7F", 6)), u"a b c ");
    EXPECT_EQ(cleanText("\xEF\xBF\xBE\xEF\xBF\xBF"), u"\uFFFD\uFFFD");
}

TEST(SingleLine, BreaksBecomeBlanksAndEndsAreTrimmed) {
    EXPECT_EQ(singleLine(" \n one\r\ntwo\n"), "one  two");
    EXPECT_EQ(singleLine("\n\n"), "");
    EXPECT_EQ(singleLine(""), "");
}

TEST(RefusalReason, IsForPeopleAndNeverEmpty) {
    EXPECT_EQ(refusalReason("File is empty\n"), "File is empty");
    EXPECT_EQ(refusalReason("\n"), "cannot be read");
    EXPECT_EQ(refusalReason("std::bad_alloc"), "needs more memory than there is");
}

}  // namespace q7send

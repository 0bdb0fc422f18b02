#include "support/text.h"

#include <gtest/gtest.h>

#if defined(_WIN32)
#include <windows.h>
#endif

using namespace std::string_literals;

TEST(WideToUtf8, ConvertsEveryLengthOfCode) {
    EXPECT_EQ(wideToUtf8(u"A"), "A");
    EXPECT_EQ(wideToUtf8(u"\u007F\u0080"), "\x7F\xC2\x80");
    EXPECT_EQ(wideToUtf8(u"\u07FF\u0800"), "\xDF\xBF\xE0\xA0\x80");
    EXPECT_EQ(wideToUtf8(u"\uFFFF"), "\xEF\xBF\xBF");
    EXPECT_EQ(wideToUtf8(u"\U00010000\U0010FFFF"), "\xF0\x90\x80\x80\xF4\x8F\xBF\xBF");
}

TEST(WideToUtf8, StopsAtTheFirstZero) {
    EXPECT_EQ(wideToUtf8(u"ab\0cd"s), "ab");
}

TEST(WideToUtf8, EmptyIsEmpty) {
    EXPECT_EQ(wideToUtf8(u""), "");
}

TEST(WideToUtf8, UnpairedSurrogatesBecomeTheReplacementCharacter) {
    const std::string replacement = "\xEF\xBF\xBD";
    EXPECT_EQ(wideToUtf8(WideString(1, 0xD800)), replacement);
    EXPECT_EQ(wideToUtf8(WideString(1, 0xDFFF)), replacement);
    EXPECT_EQ(wideToUtf8(WideString{0xD83D, u'x'}), replacement + "x");
    EXPECT_EQ(wideToUtf8(WideString{0xDE00, 0xD83D}), replacement + replacement);
    EXPECT_EQ(wideToUtf8(WideString{0xD83D, 0xD83D, 0xDE00}), replacement + "\xF0\x9F\x98\x80");
}

TEST(Utf8ToWide, ConvertsEveryLengthOfCode) {
    EXPECT_EQ(utf8ToWide("A\xC2\x80\xE0\xA0\x80\xEF\xBF\xBF\xF0\x90\x80\x80\xF4\x8F\xBF\xBF"),
              u"A\u0080\u0800\uFFFF\U00010000\U0010FFFF");
}

TEST(Utf8ToWide, KeepsZeros) {
    EXPECT_EQ(utf8ToWide("a\0b\0"s), u"a\0b\0"s);
}

TEST(Utf8ToWide, BadBytesBecomeTheReplacementCharacter) {
    EXPECT_EQ(utf8ToWide("\x80"), u"\uFFFD");                      // no lead
    EXPECT_EQ(utf8ToWide("\xC0\xAF"), u"\uFFFD\uFFFD");            // overlong
    EXPECT_EQ(utf8ToWide("\xE0\x80\x80"), u"\uFFFD\uFFFD\uFFFD");  // overlong
    EXPECT_EQ(utf8ToWide("\xF0\x8F\x80\x80"), u"\uFFFD\uFFFD\uFFFD\uFFFD");
    EXPECT_EQ(utf8ToWide("\xED\xA0\x80"), u"\uFFFD\uFFFD\uFFFD");  // a surrogate
    EXPECT_EQ(utf8ToWide("\xF4\x90\x80\x80"), u"\uFFFD\uFFFD\uFFFD\uFFFD");
    EXPECT_EQ(utf8ToWide("\xFF"), u"\uFFFD");
    EXPECT_EQ(utf8ToWide("\xE2\x82"), u"\uFFFD");    // cut short by the end
    EXPECT_EQ(utf8ToWide("\xE2\x82x"), u"\uFFFDx");  // cut short by a character
    EXPECT_EQ(utf8ToWide("\xF0\x9F\x98"), u"\uFFFD");
}

TEST(Utf8ToWide, TurnsBackWhatWideToUtf8Wrote) {
    WideString text;
    for (char32_t unit = 1; unit < 0x10000; ++unit) {
        if (unit < 0xD800 || unit > 0xDFFF) text += static_cast<char16_t>(unit);
    }
    text += u"\U0001F600\U0010FFFF";
    EXPECT_EQ(utf8ToWide(wideToUtf8(text)), text);
}

TEST(ReplaceUnit, ReplacesEveryOne) {
    EXPECT_EQ(replaceUnit(u"/a//b/", u'/', u'@'), u"@a@@b@");
    EXPECT_EQ(replaceUnit(u"", u'/', u'@'), u"");
}

#if defined(_WIN32)

namespace {

std::string systemWideToUtf8(const WideString& text) {
    const std::wstring wide(text.begin(), text.end());
    std::string out(3 * wide.size(), '\0');
    const int bytes =
        WideCharToMultiByte(CP_UTF8, 0, wide.data(), static_cast<int>(wide.size()), out.data(),
                            static_cast<int>(out.size()), nullptr, nullptr);
    out.resize(static_cast<std::size_t>(bytes));
    return out;
}

}  // namespace

TEST(WideToUtf8, IsWhatTheSystemsConverterMakes) {
    const WideString samples[] = {u"A\u00E9\u20AC\U0001F600",
                                  {0xD800},
                                  {u'a', 0xDC00, u'b'},
                                  {0xD83D, 0xD83D, 0xDE00},
                                  {0xDE00, 0xD83D, u'x'}};
    for (const WideString& sample : samples) {
        EXPECT_EQ(wideToUtf8(sample), systemWideToUtf8(sample));
    }
}

TEST(Utf8ToWide, IsWhatTheSystemsConverterMakesOfValidText) {
    const std::string text = wideToUtf8(u"A\u00E9\u20AC\U0001F600\uFFFF") + std::string("\0z", 2);
    std::wstring wide(text.size(), L'\0');
    const int units = MultiByteToWideChar(CP_UTF8, 0, text.data(), static_cast<int>(text.size()),
                                          wide.data(), static_cast<int>(wide.size()));
    wide.resize(static_cast<std::size_t>(units));
    EXPECT_EQ(utf8ToWide(text), WideString(wide.begin(), wide.end()));
}

#endif

#include "platform/ansi_text.h"

#include <gtest/gtest.h>

TEST(AnsiToWide, WidensPlainText) {
    EXPECT_EQ(platform::ansiToWide("C:\\Q7 Render\\q7.exe"), u"C:\\Q7 Render\\q7.exe");
    EXPECT_EQ(platform::ansiToWide(""), u"");
}

#if defined(_WIN32)

#include <windows.h>

TEST(AnsiToWide, TakesTheSystemsCodePage) {
    // Whatever the code page is, text that it can hold comes back.
    const wchar_t original[] = L"\u00E9";
    char narrow[8] = {};
    BOOL lost = FALSE;
    const bool utf8 = GetACP() == CP_UTF8;
    WideCharToMultiByte(CP_ACP, utf8 ? 0 : WC_NO_BEST_FIT_CHARS, original, -1, narrow,
                        sizeof narrow, nullptr, utf8 ? nullptr : &lost);
    EXPECT_EQ(platform::ansiToWide(narrow), lost ? u"?" : u"\u00E9");
}

#else

TEST(AnsiToWide, TakesUtf8) {
    EXPECT_EQ(platform::ansiToWide("\xC3\xA9"), u"\u00E9");
}

#endif

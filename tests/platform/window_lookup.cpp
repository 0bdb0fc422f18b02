#include "platform/window_lookup.h"

#include <gtest/gtest.h>

#if defined(_WIN32)

#include <windows.h>

#include "platform/render_windows.h"

namespace {

class ScreenWindows : public testing::Test {
  protected:
    void SetUp() override {
        shown = platform::RenderWindows::show({u"Q7LookupTop", u"Top \u6E32"},
                                              {u"Q7LookupChild", u"Child "}, 320, 240);
        if (!shown) GTEST_SKIP() << "no window can be shown here: there is no display";
    }

    const platform::WindowLookup& windows = platform::screenWindows();
    std::unique_ptr<platform::RenderWindows> shown;
};

}  // namespace

TEST_F(ScreenWindows, FindsByClassAndWholeTitle) {
    const auto top = windows.findTopWindow(u"Q7LookupTop", u"Top \u6E32");
    ASSERT_NE(top, nullptr);
    EXPECT_EQ(windows.findTopWindow(u"Q7LookupTop", u"Top"), nullptr);
    EXPECT_EQ(windows.findTopWindow(u"Q7LookupChild", u"Top \u6E32"), nullptr);
    EXPECT_EQ(windows.findTopWindow(u"Q7LookupChild", u"Child "), nullptr);
    EXPECT_EQ(windows.findTopWindow(u"Q7LookupNone", u"Top \u6E32"), nullptr);
    EXPECT_NE(windows.findChildWindow(top, u"Q7LookupChild", u"Child "), nullptr);
    EXPECT_EQ(windows.findChildWindow(top, u"Q7LookupChild", u"Child"), nullptr);
    EXPECT_EQ(windows.findChildWindow(top, u"Q7LookupTop", u"Child "), nullptr);
}

TEST_F(ScreenWindows, TellsTheRectangleOfAWindowThatIsThere) {
    const auto top = windows.findTopWindow(u"Q7LookupTop", u"Top \u6E32");
    const auto child = windows.findChildWindow(top, u"Q7LookupChild", u"Child ");
    const auto rectangle = windows.rectangleOf(child);
    ASSERT_TRUE(rectangle);
    RECT expected;
    ASSERT_TRUE(GetWindowRect(static_cast<HWND>(child), &expected));
    EXPECT_EQ(rectangle->left, expected.left);
    EXPECT_EQ(rectangle->top, expected.top);
    EXPECT_EQ(rectangle->right, expected.right);
    EXPECT_EQ(rectangle->bottom, expected.bottom);
    shown.reset();
    EXPECT_FALSE(windows.rectangleOf(child));
    EXPECT_EQ(windows.findChildWindow(top, u"Q7LookupChild", u"Child "), nullptr);
}

#else

TEST(ScreenWindows, NoneIsEverFound) {
    const platform::WindowLookup& windows = platform::screenWindows();
    EXPECT_EQ(windows.findTopWindow(u"Qt5QWindowIcon", u"Q7 Render"), nullptr);
    EXPECT_EQ(windows.findChildWindow(nullptr, u"UnrealWindow", u"Q7 Render "), nullptr);
    EXPECT_FALSE(windows.rectangleOf(nullptr));
}

#endif

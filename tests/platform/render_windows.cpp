#include "platform/render_windows.h"

#include <gtest/gtest.h>

#include "platform/window_lookup.h"

#if defined(_WIN32)
#include <windows.h>
#endif

namespace {

using namespace platform;

const WindowName top{u"Q7TestTop", u"Q7 Test \u6E32"};
const WindowName child{u"Q7TestChild", u"Q7 Test "};

#if defined(_WIN32)

class RenderWindowsTest : public testing::Test {
  protected:
    void SetUp() override {
        windows = RenderWindows::show(top, child, 1920, 1080);
        if (!windows) GTEST_SKIP() << "no window can be shown here: there is no display";
    }

    WindowHandle findTop() const {
        return screenWindows().findTopWindow(top.windowClass, top.title);
    }
    WindowHandle findChild(WindowHandle parent) const {
        return screenWindows().findChildWindow(parent, child.windowClass, child.title);
    }

    std::unique_ptr<RenderWindows> windows;
};

TEST_F(RenderWindowsTest, AreFoundUntilTheyEnd) {
    EXPECT_TRUE(hasFindableWindows());
    const WindowHandle parent = findTop();
    ASSERT_NE(parent, nullptr);
    const auto rectangle = screenWindows().rectangleOf(findChild(parent));
    ASSERT_TRUE(rectangle);
    EXPECT_EQ(rectangle->right - rectangle->left, 1920);
    EXPECT_EQ(rectangle->bottom - rectangle->top, 1080);
    windows.reset();
    EXPECT_EQ(findTop(), nullptr);
    EXPECT_FALSE(screenWindows().rectangleOf(parent));
}

TEST_F(RenderWindowsTest, AreShownAgain) {
    windows = nullptr;
    windows = RenderWindows::show(top, child, 1, 1);
    ASSERT_NE(windows, nullptr);
    EXPECT_NE(findChild(findTop()), nullptr);
}

TEST_F(RenderWindowsTest, AnswerMessagesAndMayBeClosedByHand) {
    const HWND window = static_cast<HWND>(findTop());
    SendMessageW(window, WM_CLOSE, 0, 0);
    EXPECT_EQ(IsWindow(window), FALSE);
    EXPECT_EQ(findTop(), nullptr);
}

#else

TEST(RenderWindowsTest, AreNoneHere) {
    EXPECT_FALSE(hasFindableWindows());
    EXPECT_EQ(RenderWindows::show(top, child, 1920, 1080), nullptr);
}

#endif

}  // namespace

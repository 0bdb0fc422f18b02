#include "link/render_window.h"

#include <gtest/gtest.h>

#include <vector>

#if defined(_WIN32)
#include "platform/render_windows.h"
#endif

namespace {

using platform::WindowHandle;

constexpr auto topClass = u"Qt5QWindowIcon";
constexpr auto viewportClass = u"UnrealWindow";
const std::vector<WideString> topTitles = {u"Q7 Render", u"Q7\u6E32\u67D3\u5668"};
const std::vector<WideString> viewportTitles = {
    u"Q7 Render ",
    u"Q7 Render (64-bit, PCD3D_SM5)",
    u"Q7 Render (64-bit, PCD3D_SM5) ",
    u"Q7 Render  ",
    u"Q7 Render (64-bit Development PCD3D_SM5) ",
    u"Q7 Render \uFF0864-\u4F4D Development PCD3D_SM5\uFF09 "};

// A screen with at most one top window and one child of it, which writes down what it is asked.
class FakeScreen : public platform::WindowLookup {
  public:
    WindowHandle findTopWindow(const WideString& windowClass,
                               const WideString& title) const override {
        EXPECT_EQ(windowClass, topClass);
        asked.push_back(title);
        return title == topTitle ? topHandle : nullptr;
    }
    WindowHandle findChildWindow(WindowHandle parent, const WideString& windowClass,
                                 const WideString& title) const override {
        EXPECT_EQ(windowClass, viewportClass);
        EXPECT_EQ(parent, topHandle);
        asked.push_back(title);
        return title == viewportTitle ? viewportHandle : nullptr;
    }
    std::optional<platform::WindowRectangle> rectangleOf(WindowHandle window) const override {
        EXPECT_EQ(window, viewportHandle);
        return rectangle;
    }

    std::vector<WideString> takeAsked() const { return std::exchange(asked, {}); }

    int top = 0;
    int viewport = 0;
    WindowHandle topHandle = &top;
    WindowHandle viewportHandle = &viewport;
    WideString topTitle = u"none";
    WideString viewportTitle = u"none";
    std::optional<platform::WindowRectangle> rectangle = {{100, 50, 2020, 1130}};
    mutable std::vector<WideString> asked;
};

const std::vector<WideString> nothing;

}  // namespace

TEST(RenderWindow, TriesTheTitlesInTheirOrderUntilOneIsFound) {
    for (std::size_t top = 0; top < topTitles.size(); ++top) {
        for (std::size_t viewport = 0; viewport < viewportTitles.size(); ++viewport) {
            FakeScreen screen;
            screen.topTitle = topTitles[top];
            screen.viewportTitle = viewportTitles[viewport];
            RenderWindow window(screen);
            EXPECT_EQ(window.viewportSize(), 0x07800438U);
            std::vector<WideString> expected(
                topTitles.begin(), topTitles.begin() + static_cast<std::ptrdiff_t>(top) + 1);
            expected.insert(expected.end(), viewportTitles.begin(),
                            viewportTitles.begin() + static_cast<std::ptrdiff_t>(viewport) + 1);
            EXPECT_EQ(screen.takeAsked(), expected);
        }
    }
}

TEST(RenderWindow, SearchesForTheTopWindowAtEachCallUntilThereIsOne) {
    FakeScreen screen;
    RenderWindow window(screen);
    for (int i = 0; i < 2; ++i) {
        EXPECT_EQ(window.viewportSize(), 0U);
        EXPECT_EQ(screen.takeAsked(), topTitles);
    }
    screen.topTitle = topTitles[0];
    screen.viewportTitle = viewportTitles[0];
    EXPECT_EQ(window.viewportSize(), 0x07800438U);
}

TEST(RenderWindow, KeepsATopWindowWithoutAChild) {
    FakeScreen screen;
    RenderWindow window(screen);
    screen.topTitle = topTitles[0];
    EXPECT_EQ(window.viewportSize(), 0U);
    screen.takeAsked();
    screen.topTitle = u"gone";
    EXPECT_EQ(window.viewportSize(), 0U);
    EXPECT_EQ(screen.takeAsked(), viewportTitles);
    screen.viewportTitle = viewportTitles[0];
    EXPECT_EQ(window.viewportSize(), 0x07800438U);
    EXPECT_EQ(screen.takeAsked(), std::vector<WideString>{viewportTitles[0]});
}

TEST(RenderWindow, FollowsTheSizeWithoutSearchingAgain) {
    FakeScreen screen;
    RenderWindow window(screen);
    screen.topTitle = topTitles[1];
    screen.viewportTitle = viewportTitles[5];
    window.viewportSize();
    screen.takeAsked();
    screen.topTitle = screen.viewportTitle = u"gone";
    screen.rectangle = {{-5, -7, 3, 9}};
    EXPECT_EQ(window.viewportSize(), 0x00080010U);
    EXPECT_EQ(screen.takeAsked(), nothing);
}

TEST(RenderWindow, SearchesAnewAfterTheSizeCouldNotBeHad) {
    FakeScreen screen;
    RenderWindow window(screen);
    screen.topTitle = topTitles[0];
    screen.viewportTitle = viewportTitles[0];
    EXPECT_EQ(window.viewportSize(), 0x07800438U);
    screen.takeAsked();
    screen.rectangle.reset();
    EXPECT_EQ(window.viewportSize(), 0U);
    EXPECT_EQ(screen.takeAsked(), nothing);
    screen.rectangle = {{0, 0, 1, 2}};
    int other = 0;
    screen.topHandle = &other;
    EXPECT_EQ(window.viewportSize(), 0x00010002U);
    EXPECT_EQ(screen.takeAsked(), (std::vector<WideString>{topTitles[0], viewportTitles[0]}));
}

TEST(RenderWindow, CutsNothingOff) {
    FakeScreen screen;
    RenderWindow window(screen);
    screen.topTitle = topTitles[0];
    screen.viewportTitle = viewportTitles[0];
    screen.rectangle = {{0, 0, 2, 0x10001}};
    EXPECT_EQ(window.viewportSize(), 0x00030001U);
    screen.rectangle = {{0, 1, 2, 0}};
    EXPECT_EQ(window.viewportSize(), 0xFFFFFFFFU);
    screen.rectangle = {{0, 0, 0x10001, 3}};
    EXPECT_EQ(window.viewportSize(), 0x00010003U);
    screen.rectangle = {{1, 0, 0, 3}};
    EXPECT_EQ(window.viewportSize(), 0xFFFF0003U);
    screen.rectangle = {{0, 0, 0, 0}};
    EXPECT_EQ(window.viewportSize(), 0U);
    screen.rectangle = {{INT32_MIN, INT32_MIN, INT32_MAX, INT32_MAX}};
    EXPECT_EQ(window.viewportSize(), 0xFFFFFFFFU);
}

TEST(RenderWindow, IsOneForTheProcess) {
    EXPECT_EQ(&renderWindow(), &renderWindow());
}

#if defined(_WIN32)

TEST(RenderWindow, FindsTheRealOneUnderEachOfItsTitlesWheneverItComesBack) {
    // One for all, so that each title is found after another has gone.
    RenderWindow window(platform::screenWindows());
    EXPECT_EQ(window.viewportSize(), 0U);
    for (const WideString& top : topTitles) {
        for (const WideString& viewport : viewportTitles) {
            const auto windows = platform::RenderWindows::show(
                {topClass, top}, {viewportClass, viewport}, 1920, 1080);
            if (!windows) GTEST_SKIP() << "no window can be shown here: there is no display";
            // The first call after the last one went.
            if (top != topTitles[0] || viewport != viewportTitles[0]) {
                EXPECT_EQ(window.viewportSize(), 0U);
            }
            EXPECT_EQ(window.viewportSize(), 0x07800438U);
            EXPECT_EQ(window.viewportSize(), 0x07800438U);
        }
    }
}

TEST(RenderWindow, TakesNoOtherTitle) {
    for (const auto& [top, viewport] : std::vector<std::pair<WideString, WideString>>{
             {u"Q7 Render", u"Q7 Render"},
             {u"Q7 Render", u"Q7 Render   "},
             {u"Q7 Render", u"Q7 Render (64-\u4F4D Development PCD3D_SM5) "},
             {u"Q7 Render ", u"Q7 Render "}}) {
        const auto windows =
            platform::RenderWindows::show({topClass, top}, {viewportClass, viewport}, 8, 8);
        if (!windows) GTEST_SKIP() << "no window can be shown here: there is no display";
        EXPECT_EQ(RenderWindow(platform::screenWindows()).viewportSize(), 0U);
    }
}

#endif

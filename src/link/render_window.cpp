#include "link/render_window.h"

#include <array>

#include "support/text.h"

namespace {

constexpr WideView topClass = u"Qt5QWindowIcon";
constexpr std::array<WideView, 2> topTitles = {u"Q7 Render", u"Q7\u6E32\u67D3\u5668"};

// What the engine's releases and development builds, English and Chinese, call their window. The
// blanks at the end are theirs; the last one has full-width brackets.
constexpr WideView viewportClass = u"UnrealWindow";
constexpr std::array<WideView, 6> viewportTitles = {
    u"Q7 Render ",
    u"Q7 Render (64-bit, PCD3D_SM5)",
    u"Q7 Render (64-bit, PCD3D_SM5) ",
    u"Q7 Render  ",
    u"Q7 Render (64-bit Development PCD3D_SM5) ",
    u"Q7 Render \uFF0864-\u4F4D Development PCD3D_SM5\uFF09 ",
};

}  // namespace

bool RenderWindow::findTop() {
    for (const WideView title : topTitles) {
        if (top_) break;
        top_ = lookup_.findTopWindow(WideString(topClass), WideString(title));
    }
    return top_ != nullptr;
}

bool RenderWindow::findViewport() {
    for (const WideView title : viewportTitles) {
        if (viewport_) break;
        viewport_ = lookup_.findChildWindow(top_, WideString(viewportClass), WideString(title));
    }
    return viewport_ != nullptr;
}

std::uint32_t RenderWindow::viewportSize() {
    if (!findTop() || !findViewport()) return 0;
    const auto rectangle = lookup_.rectangleOf(viewport_);
    if (!rectangle) {
        top_ = viewport_ = nullptr;
        return 0;
    }
    // Without a sign, so that a coordinate beyond all screens cannot overflow.
    const auto distance = [](std::int32_t from, std::int32_t to) {
        return static_cast<std::uint32_t>(to) - static_cast<std::uint32_t>(from);
    };
    return distance(rectangle->left, rectangle->right) << 16U |
           distance(rectangle->top, rectangle->bottom);
}

RenderWindow& renderWindow() {
    static RenderWindow window(platform::screenWindows());
    return window;
}

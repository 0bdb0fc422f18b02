#include "platform/window_lookup.h"

#include <windows.h>

#include <string>

namespace platform {
namespace {

std::wstring native(const WideString& text) {
    return {text.begin(), text.end()};
}

class ScreenWindows : public WindowLookup {
    WindowHandle findTopWindow(const WideString& windowClass,
                               const WideString& title) const override {
        return FindWindowW(native(windowClass).c_str(), native(title).c_str());
    }
    WindowHandle findChildWindow(WindowHandle parent, const WideString& windowClass,
                                 const WideString& title) const override {
        return FindWindowExW(static_cast<HWND>(parent), nullptr, native(windowClass).c_str(),
                             native(title).c_str());
    }
    std::optional<WindowRectangle> rectangleOf(WindowHandle window) const override {
        RECT rectangle;
        if (GetWindowRect(static_cast<HWND>(window), &rectangle) == 0) return std::nullopt;
        return WindowRectangle{rectangle.left, rectangle.top, rectangle.right, rectangle.bottom};
    }
};

}  // namespace

const WindowLookup& screenWindows() {
    static const ScreenWindows lookup;
    return lookup;
}

}  // namespace platform

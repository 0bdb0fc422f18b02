// Windows of other programs.
#pragma once

#include <cstdint>
#include <optional>

#include "support/text.h"

namespace platform {

// The system's name for a window, which it may give to another one when the window has gone; null is
// none.
using WindowHandle = void*;

// In pixels of the screen.
struct WindowRectangle {
    std::int32_t left;
    std::int32_t top;
    std::int32_t right;
    std::int32_t bottom;
};

// Classes and titles are compared as the system does: titles whole, without regard to case.
class WindowLookup {
  public:
    WindowLookup() = default;
    WindowLookup(const WindowLookup&) = delete;
    WindowLookup& operator=(const WindowLookup&) = delete;
    virtual ~WindowLookup() = default;

    // These two give null when there is no such window.
    virtual WindowHandle findTopWindow(const WideString& windowClass,
                                       const WideString& title) const = 0;
    virtual WindowHandle findChildWindow(WindowHandle parent, const WideString& windowClass,
                                         const WideString& title) const = 0;
    // Nothing when there is no such window any more.
    virtual std::optional<WindowRectangle> rectangleOf(WindowHandle window) const = 0;
};

// The windows of the screen. On POSIX none is ever found.
const WindowLookup& screenWindows();

}  // namespace platform

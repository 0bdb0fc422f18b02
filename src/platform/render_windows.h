// Windows for other programs to find, as a renderer has them.
#pragma once

#include <memory>

#include "support/text.h"

namespace platform {

struct WindowName {
    WideString windowClass;
    WideString title;
};

// Whether windows have classes and titles here by which other programs find them: on Windows only.
bool hasFindableWindows();

// A top-level window with one child in it, on the screen as long as the object is. A thread of its own
// serves them. Whoever closes the top window by hand ends both.
class RenderWindows {
  public:
    RenderWindows() = default;
    RenderWindows(const RenderWindows&) = delete;
    RenderWindows& operator=(const RenderWindows&) = delete;
    virtual ~RenderWindows() = default;

    // width, height: of the child, in pixels
    // Null when there can be none: see hasFindableWindows; a screen may be missing, too.
    static std::unique_ptr<RenderWindows> show(const WindowName& top, const WindowName& child,
                                               int width, int height);
};

}  // namespace platform

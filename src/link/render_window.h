// The size of the renderer's viewport, which no message tells: it is seen from the outside.
#pragma once

#include <cstdint>

#include "platform/window_lookup.h"

class RenderWindow {
  public:
    // The lookup stays the caller's.
    explicit RenderWindow(const platform::WindowLookup& lookup) : lookup_(lookup) {}

    // The width in pixels in the upper 16 bits and the height in the lower ones, with nothing cut off;
    // 0 when it is not known. A window that was found is not searched for again until the viewport
    // is gone: the call that finds it so gives 0, and the next one searches anew.
    std::uint32_t viewportSize();

  private:
    bool findTop();
    bool findViewport();

    const platform::WindowLookup& lookup_;
    platform::WindowHandle top_ = nullptr;
    platform::WindowHandle viewport_ = nullptr;
};

// The one of the process.
RenderWindow& renderWindow();

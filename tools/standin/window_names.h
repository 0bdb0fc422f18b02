// The windows by which plug-ins measure the renderer's viewport.
#pragma once

#include <array>

#include "support/text.h"

namespace q7standin {

inline constexpr WideView topWindowClass = u"Qt5QWindowIcon";
inline constexpr std::array<WideView, 2> topWindowTitles = {u"Q7 Render", u"Q7\u6E32\u67D3\u5668"};

inline constexpr WideView viewportClass = u"UnrealWindow";
// Blanks at the end are part of them; the brackets of the last are those of Chinese text.
inline constexpr std::array<WideView, 6> viewportTitles = {
    u"Q7 Render ",
    u"Q7 Render (64-bit, PCD3D_SM5)",
    u"Q7 Render (64-bit, PCD3D_SM5) ",
    u"Q7 Render  ",
    u"Q7 Render (64-bit Development PCD3D_SM5) ",
    u"Q7 Render \uFF0864-\u4F4D Development PCD3D_SM5\uFF09 ",
};

}  // namespace q7standin

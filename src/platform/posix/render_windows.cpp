#include "platform/render_windows.h"

namespace platform {

bool hasFindableWindows() {
    return false;
}

std::unique_ptr<RenderWindows> RenderWindows::show(const WindowName&, const WindowName&, int, int) {
    return nullptr;
}

}  // namespace platform

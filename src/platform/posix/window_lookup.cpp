#include "platform/window_lookup.h"

namespace platform {
namespace {

class NoWindows : public WindowLookup {
    WindowHandle findTopWindow(const WideString&, const WideString&) const override {
        return nullptr;
    }
    WindowHandle findChildWindow(WindowHandle, const WideString&,
                                 const WideString&) const override {
        return nullptr;
    }
    std::optional<WindowRectangle> rectangleOf(WindowHandle) const override { return std::nullopt; }
};

}  // namespace

const WindowLookup& screenWindows() {
    static const NoWindows lookup;
    return lookup;
}

}  // namespace platform

#include "platform/render_windows.h"

#include <windows.h>

#include <future>
#include <string>
#include <thread>

namespace platform {
namespace {

std::wstring native(const WideString& text) {
    return {text.begin(), text.end()};
}

// Asks the windows' thread to end, also when they are gone.
constexpr UINT endMessage = WM_APP;

// Registered while it is alive.
class WindowClass {
  public:
    explicit WindowClass(std::wstring name) : name_(std::move(name)) {
        WNDCLASSEXW description{};
        description.cbSize = sizeof description;
        description.lpfnWndProc = DefWindowProcW;
        description.hInstance = GetModuleHandleW(nullptr);
        description.hCursor = LoadCursorW(nullptr, IDC_ARROW);
        // The system takes a colour plus one in the place of a brush.
        description.hbrBackground =
            reinterpret_cast<HBRUSH>(static_cast<UINT_PTR>(COLOR_WINDOW + 1));
        description.lpszClassName = name_.c_str();
        RegisterClassExW(&description);
    }
    WindowClass(const WindowClass&) = delete;
    WindowClass& operator=(const WindowClass&) = delete;
    ~WindowClass() { UnregisterClassW(name_.c_str(), GetModuleHandleW(nullptr)); }

    HWND make(const WideString& title, DWORD style, HWND parent, SIZE size) const {
        return CreateWindowExW(0, name_.c_str(), native(title).c_str(), style, 0, 0, size.cx,
                               size.cy, parent, nullptr, GetModuleHandleW(nullptr), nullptr);
    }

  private:
    std::wstring name_;
};

class ShownWindows : public RenderWindows {
  public:
    ShownWindows(const WindowName& top, const WindowName& child, int width, int height) {
        std::promise<Start> start;
        std::future<Start> started = start.get_future();
        thread_ = std::thread([&, width, height] { serve(top, child, {width, height}, start); });
        start_ = started.get();
    }
    ~ShownWindows() override {
        PostThreadMessageW(start_.thread, endMessage, 0, 0);
        thread_.join();
    }

    bool isShown() const { return start_.isShown; }

  private:
    struct Start {
        DWORD thread = 0;
        bool isShown = false;
    };

    // The names and the promise are there until it is kept.
    static void serve(const WindowName& top, const WindowName& child, SIZE size,
                      std::promise<Start>& start) {
        MSG message;
        // Makes the thread's queue, so that no message to it gets lost.
        PeekMessageW(&message, nullptr, WM_USER, WM_USER, PM_NOREMOVE);
        const WindowClass topClass(native(top.windowClass));
        const WindowClass childClass(native(child.windowClass));
        const HWND window = makeBoth(topClass, top.title, childClass, child.title, size);
        start.set_value({GetCurrentThreadId(), window != nullptr});
        while (GetMessageW(&message, nullptr, 0, 0) > 0 && message.message != endMessage)
            DispatchMessageW(&message);
        if (window != nullptr) DestroyWindow(window);
    }

    // The top window, or null.
    static HWND makeBoth(const WindowClass& topClass, const WideString& topTitle,
                         const WindowClass& childClass, const WideString& childTitle, SIZE size) {
        constexpr DWORD topStyle = WS_OVERLAPPEDWINDOW | WS_CLIPCHILDREN;
        RECT frame{0, 0, size.cx, size.cy};
        AdjustWindowRect(&frame, topStyle, FALSE);
        const SIZE whole{frame.right - frame.left, frame.bottom - frame.top};
        const HWND window = topClass.make(topTitle, topStyle, nullptr, whole);
        if (window == nullptr) return nullptr;
        if (childClass.make(childTitle, WS_CHILD | WS_VISIBLE, window, size) == nullptr) {
            DestroyWindow(window);
            return nullptr;
        }
        ShowWindow(window, SW_SHOWNOACTIVATE);
        return window;
    }

    std::thread thread_;
    Start start_;
};

}  // namespace

bool hasFindableWindows() {
    return true;
}

std::unique_ptr<RenderWindows> RenderWindows::show(const WindowName& top, const WindowName& child,
                                                   int width, int height) {
    auto windows = std::make_unique<ShownWindows>(top, child, width, height);
    if (!windows->isShown()) return nullptr;
    return windows;
}

}  // namespace platform

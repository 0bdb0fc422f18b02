#include "platform/ansi_text.h"

#include <windows.h>

#include <string>

namespace platform {

WideString ansiToWide(std::string_view text) {
    const int bytes = static_cast<int>(text.size());
    const int units = MultiByteToWideChar(CP_ACP, 0, text.data(), bytes, nullptr, 0);
    std::wstring wide(static_cast<std::size_t>(units), L'\0');
    MultiByteToWideChar(CP_ACP, 0, text.data(), bytes, wide.data(), units);
    return {wide.begin(), wide.end()};
}

}  // namespace platform

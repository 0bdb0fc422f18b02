#include "platform/executable_path.h"

#include <windows.h>

#include <string>

namespace platform {

std::filesystem::path executablePath() {
    constexpr std::size_t longest = 1 << 15;
    std::wstring path(longest, L'\0');
    path.resize(GetModuleFileNameW(nullptr, path.data(), static_cast<DWORD>(path.size())));
    return {path};
}

}  // namespace platform

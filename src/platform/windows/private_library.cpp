#include "platform/private_library.h"

#include <windows.h>

namespace platform {
namespace {

// The folder of the file that this code is in, with a separator behind it; empty when the system does
// not tell.
std::wstring ownFolder() {
    static const char inThisFile = 0;
    HMODULE module = nullptr;
    constexpr DWORD byAddress =
        GET_MODULE_HANDLE_EX_FLAG_FROM_ADDRESS | GET_MODULE_HANDLE_EX_FLAG_UNCHANGED_REFCOUNT;
    if (GetModuleHandleExW(byAddress, reinterpret_cast<LPCWSTR>(&inThisFile), &module) == 0)
        return {};
    constexpr DWORD longestPath = 0x8000;
    std::wstring path(longestPath, L'\0');
    path.resize(GetModuleFileNameW(module, path.data(), longestPath));
    return path.substr(0, path.rfind(L'\\') + 1);
}

}  // namespace

PrivateLibrary::PrivateLibrary(const std::string& fileName) {
    const std::wstring name(fileName.begin(), fileName.end());
    // No box of the system's own about a file that is not there.
    DWORD hostsMode = 0;
    SetThreadErrorMode(SEM_FAILCRITICALERRORS, &hostsMode);
    // What it needs itself stands beside it. Neither is looked for in the working directory, which may be the
    // folder of a scene from anywhere, nor in those of PATH.
    handle_ = LoadLibraryExW((ownFolder() + name).c_str(), nullptr,
                             LOAD_LIBRARY_SEARCH_DLL_LOAD_DIR | LOAD_LIBRARY_SEARCH_DEFAULT_DIRS);
    if (handle_ == nullptr)
        handle_ = LoadLibraryExW(name.c_str(), nullptr, LOAD_LIBRARY_SEARCH_DEFAULT_DIRS);
    SetThreadErrorMode(hostsMode, nullptr);
}

PrivateLibrary::~PrivateLibrary() {
    if (handle_ != nullptr) FreeLibrary(static_cast<HMODULE>(handle_));
}

void* PrivateLibrary::findAddress(const char* name) const {
    if (handle_ == nullptr) return nullptr;
    return reinterpret_cast<void*>(GetProcAddress(static_cast<HMODULE>(handle_), name));
}

// A library's imports name the files that they come from.
bool PrivateLibrary::reaches(std::initializer_list<const char*>) const {
    return true;
}

}  // namespace platform

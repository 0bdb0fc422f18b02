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
    handle_ = LoadLibraryW((ownFolder() + name).c_str());
    if (handle_ == nullptr) handle_ = LoadLibraryW(name.c_str());
}

PrivateLibrary::~PrivateLibrary() {
    if (handle_ != nullptr) FreeLibrary(static_cast<HMODULE>(handle_));
}

void* PrivateLibrary::findAddress(const char* name) const {
    if (handle_ == nullptr) return nullptr;
    return reinterpret_cast<void*>(GetProcAddress(static_cast<HMODULE>(handle_), name));
}

}  // namespace platform

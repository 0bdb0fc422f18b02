#include "platform/files.h"

#include <windows.h>

#include <string>

#include "platform/windows/extended_length_path.h"

namespace platform {
namespace {

// The limit for folders, which leaves room for a short file name.
constexpr std::size_t longestOrdinaryPath = MAX_PATH - 12 - 1;

std::wstring fullPath(const std::wstring& path) {
    const DWORD size = GetFullPathNameW(path.c_str(), 0, nullptr, nullptr);
    std::wstring full(size, L'\0');
    full.resize(GetFullPathNameW(path.c_str(), size, full.data(), nullptr));
    return full.empty() ? path : full;
}

}  // namespace

std::wstring extendedLengthPath(const std::wstring& path) {
    std::wstring full = fullPath(path);
    if (full.starts_with(L"\\\\?\\") || full.starts_with(L"\\\\.\\")) return full;
    if (full.starts_with(L"\\\\")) return L"\\\\?\\UNC" + full.substr(1);
    return L"\\\\?\\" + full;
}

std::filesystem::path nativePath(const WideString& path) {
    const std::wstring native(path.begin(), path.end());
    return {fullPath(native).size() > longestOrdinaryPath ? extendedLengthPath(native) : native};
}

std::string pathInUtf8(const WideString& path) {
    const std::wstring native = nativePath(path).native();
    return wideToUtf8(WideString(native.begin(), native.end()));
}

bool fileCanBeOpened(const WideString& path) {
    return File(_wfopen(nativePath(path).c_str(), L"rb")) != nullptr;
}

File openBinaryForWriting(const WideString& path) {
    std::FILE* file = nullptr;
    _wfopen_s(&file, nativePath(path).c_str(), L"wb");
    return File(file);
}

File openTextForWriting(const WideString& path) {
    return File(_wfopen(nativePath(path).c_str(), L"w"));
}

}  // namespace platform

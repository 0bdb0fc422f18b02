#include "platform/files.h"

#include <fcntl.h>
#include <io.h>
#include <share.h>
#include <sys/stat.h>
#include <windows.h>

#include <cerrno>
#include <new>
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

// By a descriptor first: not every C runtime is known to take the "N" in a mode that does the same.
File open(const WideString& path, int flags, int sharing, const wchar_t* mode) {
    int descriptor = -1;
    const int error = _wsopen_s(&descriptor, nativePath(path).c_str(), flags | _O_NOINHERIT,
                                sharing, _S_IREAD | _S_IWRITE);
    if (error == ENOMEM) throw std::bad_alloc();
    if (error != 0) return nullptr;
    File file(_wfdopen(descriptor, mode));
    if (file) return file;
    const bool lacksMemory = errno == ENOMEM;
    _close(descriptor);
    if (lacksMemory) throw std::bad_alloc();
    return nullptr;
}

// Only a file that can be written is emptied: a process may have no stream left for it. A pipe or
// NUL has no size to change.
File openEmpty(const WideString& path, int form, int sharing, const wchar_t* mode) {
    File file = open(path, _O_WRONLY | _O_CREAT | form, sharing, mode);
    if (!file) return nullptr;
    const int descriptor = _fileno(file.get());
    const auto handle = reinterpret_cast<HANDLE>(_get_osfhandle(descriptor));
    if (GetFileType(handle) == FILE_TYPE_DISK && _chsize(descriptor, 0) != 0) return nullptr;
    return file;
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
    return openBinaryForReading(path) != nullptr;
}

File openBinaryForReading(const WideString& path) {
    return open(path, _O_RDONLY | _O_BINARY, _SH_DENYNO, L"rb");
}

File openTextForReading(const WideString& path) {
    return open(path, _O_RDONLY | _O_TEXT, _SH_DENYNO, L"r");
}

File openBinaryForWriting(const WideString& path) {
    return openEmpty(path, _O_BINARY, _SH_DENYRW, L"wb");
}

File openSharedForWriting(const WideString& path) {
    return openEmpty(path, _O_BINARY, _SH_DENYNO, L"wb");
}

File openTextForWriting(const WideString& path) {
    return openEmpty(path, _O_TEXT, _SH_DENYNO, L"w");
}

}  // namespace platform

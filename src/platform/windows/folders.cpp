#include "platform/folders.h"

#include <windows.h>

#include <shlobj.h>

#include <array>
#include <memory>
#include <string>
#include <string_view>
#include <type_traits>

#include "platform/files.h"
#include "platform/windows/extended_length_path.h"

namespace platform {
namespace {

struct SearchCloser {
    void operator()(HANDLE search) const { FindClose(search); }
};
using Search = std::unique_ptr<std::remove_pointer_t<HANDLE>, SearchCloser>;

bool removeEntry(const std::wstring& path, DWORD attributes);

bool removeContents(const std::wstring& folder) {
    WIN32_FIND_DATAW entry;
    const HANDLE first = FindFirstFileW((folder + L"\\*").c_str(), &entry);
    if (first == INVALID_HANDLE_VALUE) return false;
    const Search search(first);
    bool allRemoved = true;
    do {
        const std::wstring_view name = entry.cFileName;
        if (name == L"." || name == L"..") continue;
        if (!removeEntry(folder + L'\\' + entry.cFileName, entry.dwFileAttributes))
            allRemoved = false;
    } while (FindNextFileW(search.get(), &entry) != 0);
    return allRemoved;
}

bool removeEntry(const std::wstring& path, DWORD attributes) {
    if ((attributes & FILE_ATTRIBUTE_READONLY) != 0)
        SetFileAttributesW(path.c_str(), attributes & ~DWORD{FILE_ATTRIBUTE_READONLY});
    if ((attributes & FILE_ATTRIBUTE_DIRECTORY) == 0) return DeleteFileW(path.c_str()) != 0;
    if ((attributes & FILE_ATTRIBUTE_REPARSE_POINT) == 0 && !removeContents(path)) return false;
    return RemoveDirectoryW(path.c_str()) != 0;
}

}  // namespace

WideString localAppDataFolder() {
    std::array<wchar_t, MAX_PATH> folder = {};
    if (SHGetFolderPathW(nullptr, CSIDL_LOCAL_APPDATA, nullptr, SHGFP_TYPE_CURRENT,
                         folder.data()) != S_OK)
        return {};
    const std::wstring_view text = folder.data();
    return {text.begin(), text.end()};
}

bool isFolder(const WideString& path) {
    const DWORD attributes = GetFileAttributesW(nativePath(path).c_str());
    return attributes != INVALID_FILE_ATTRIBUTES && (attributes & FILE_ATTRIBUTE_DIRECTORY) != 0;
}

FolderCreation createFolder(const WideString& path) {
    if (CreateDirectoryW(nativePath(path).c_str(), nullptr) != 0) return FolderCreation::Created;
    return GetLastError() == ERROR_ALREADY_EXISTS ? FolderCreation::AlreadyExists
                                                  : FolderCreation::Failed;
}

// Not by the shell's own function: it takes no longer paths, and with an entry deep inside that has one
// an implementation of it has emptied the working directory.
bool removeFolderTree(const WideString& path) {
    // As a full path it would be the working directory.
    if (path.empty()) return false;
    std::wstring folder = extendedLengthPath(nativePath(path).native());
    while (folder.ends_with(L'\\'))
        folder.pop_back();
    const DWORD attributes = GetFileAttributesW(folder.c_str());
    return attributes != INVALID_FILE_ATTRIBUTES && removeEntry(folder, attributes);
}

}  // namespace platform

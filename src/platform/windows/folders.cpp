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
#include "platform/windows/folder_removal.h"

namespace platform {
namespace {

struct SearchCloser {
    void operator()(HANDLE search) const { FindClose(search); }
};
using Search = std::unique_ptr<std::remove_pointer_t<HANDLE>, SearchCloser>;

// Calls visit(path, entry) for what is in the folder, as long as that is true. False when it was not, or
// the folder cannot be read.
template <class Visit>
bool forEachEntry(const std::wstring& folder, const Visit& visit) {
    WIN32_FIND_DATAW entry;
    const HANDLE first = FindFirstFileW((folder + L"\\*").c_str(), &entry);
    if (first == INVALID_HANDLE_VALUE) return false;
    const Search search(first);
    do {
        const std::wstring_view name = entry.cFileName;
        if (name == L"." || name == L"..") continue;
        if (!visit(folder + L'\\' + entry.cFileName, entry)) return false;
    } while (FindNextFileW(search.get(), &entry) != 0);
    return GetLastError() == ERROR_NO_MORE_FILES;
}

// The tag of a reparse point; that of a link where it cannot be had, so that nobody goes through it.
DWORD reparseTagOf(const std::wstring& path) {
    WIN32_FIND_DATAW entry;
    const HANDLE found = FindFirstFileW(path.c_str(), &entry);
    if (found == INVALID_HANDLE_VALUE) return IO_REPARSE_TAG_SYMLINK;
    FindClose(found);
    return entry.dwReserved0;
}

class Removal {
  public:
    explicit Removal(BriefWait* wait) : wait_(wait) {}

    bool removeEntry(const std::wstring& path, DWORD attributes, DWORD reparseTag) {
        if ((attributes & FILE_ATTRIBUTE_READONLY) != 0)
            SetFileAttributesW(path.c_str(), attributes & ~DWORD{FILE_ATTRIBUTE_READONLY});
        if ((attributes & FILE_ATTRIBUTE_DIRECTORY) == 0)
            return removeWhenFree([&path] { return DeleteFileW(path.c_str()) != 0; });
        if (isFolderItself(attributes, reparseTag) && !removeContents(path)) return false;
        return removeWhenFree([&path] { return RemoveDirectoryW(path.c_str()) != 0; });
    }

  private:
    // As much as can be removed, whatever stays.
    bool removeContents(const std::wstring& folder) {
        bool allRemoved = true;
        const bool allRead =
            forEachEntry(folder, [&](const std::wstring& path, const WIN32_FIND_DATAW& entry) {
                if (!removeEntry(path, entry.dwFileAttributes, entry.dwReserved0))
                    allRemoved = false;
                return true;
            });
        return allRead && allRemoved;
    }

    // Programs that look at every new file (virus scanners, indexers) hold it for a moment; a file that
    // goes when they close it still fills its folder. What is denied for another reason stays denied.
    template <class Remove>
    bool removeWhenFree(const Remove& remove) {
        while (!remove()) {
            const DWORD error = GetLastError();
            const bool isHeld = error == ERROR_SHARING_VIOLATION || error == ERROR_DIR_NOT_EMPTY;
            if (!isHeld || waits_ == mostWaits) return false;
            ++waits_;
            wait_();
        }
        return true;
    }

    BriefWait* wait_;
    int waits_ = 0;
};

std::string inUtf8(std::wstring_view text) {
    return wideToUtf8(WideString(text.begin(), text.end()));
}

// Walks a folder below the one at the path of the given length, or that one.
bool walk(const std::wstring& folder, std::size_t topLength,
          const std::function<bool(const FolderEntry&)>& visit) {
    return forEachEntry(folder, [&](const std::wstring& path, const WIN32_FIND_DATAW& found) {
        const DWORD attributes = found.dwFileAttributes;
        const bool isFolder = (attributes & FILE_ATTRIBUTE_DIRECTORY) != 0;
        if (isLink(attributes, found.dwReserved0)) return true;
        const std::wstring_view name = std::wstring_view(path).substr(topLength + 1);
        return visit({inUtf8(path), inUtf8(name), isFolder}) &&
               (!isFolder || walk(path, topLength, visit));
    });
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

bool isLink(unsigned long attributes, unsigned long reparseTag) {
    return (attributes & FILE_ATTRIBUTE_REPARSE_POINT) != 0 &&
           IsReparseTagNameSurrogate(reparseTag);
}

bool isFolderItself(unsigned long attributes, unsigned long reparseTag) {
    return (attributes & FILE_ATTRIBUTE_DIRECTORY) != 0 && !isLink(attributes, reparseTag);
}

bool removeFolderTree(const WideString& path) {
    // About half a second in all.
    return removeFolderTree(path, [] { Sleep(20); });
}

// Not by the shell's own function: it takes no longer paths, and with an entry deep inside that has one
// an implementation of it has emptied the working directory.
bool removeFolderTree(const WideString& path, BriefWait* wait) {
    // As a full path it would be the working directory.
    if (path.empty()) return false;
    std::wstring folder = extendedLengthPath(nativePath(path).native());
    while (folder.ends_with(L'\\'))
        folder.pop_back();
    const DWORD attributes = GetFileAttributesW(folder.c_str());
    if (attributes == INVALID_FILE_ATTRIBUTES) return false;
    const bool isReparsePoint = (attributes & FILE_ATTRIBUTE_REPARSE_POINT) != 0;
    return Removal(wait).removeEntry(folder, attributes, isReparsePoint ? reparseTagOf(folder) : 0);
}

bool walkFolder(const WideString& folder, const std::function<bool(const FolderEntry&)>& visit) {
    // As a full path it would be the working directory.
    if (folder.empty()) return false;
    const std::wstring top = extendedLengthPath(nativePath(folder).native());
    return walk(top, top.size(), visit);
}

}  // namespace platform

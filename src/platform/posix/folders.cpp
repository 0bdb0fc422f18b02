#include "platform/folders.h"

#include <dirent.h>
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstdlib>
#include <memory>
#include <string>
#include <string_view>
#include <system_error>

#include "platform/files.h"

namespace platform {
namespace {

// Without a separator behind it. Empty unless the variable names a place from the root: a relative one
// has no meaning here.
std::string folderOf(const char* variable) {
    // Safe beside everything but a change of the environment, which no thread should make.
    const char* const value = std::getenv(variable);  // NOLINT(concurrency-mt-unsafe)
    std::string folder = value != nullptr && *value == '/' ? value : "";
    while (folder.size() > 1 && folder.ends_with('/'))
        folder.pop_back();
    return folder;
}

struct FolderCloser {
    void operator()(DIR* folder) const { closedir(folder); }
};
using Folder = std::unique_ptr<DIR, FolderCloser>;

// Null when there is no folder of that name in the parent; a link is none.
Folder openFolder(int parent, const char* name, int flags = O_NOFOLLOW) {
    const int descriptor = openat(parent, name, O_RDONLY | O_DIRECTORY | O_CLOEXEC | flags);
    if (descriptor < 0) return nullptr;
    Folder folder(fdopendir(descriptor));
    if (!folder) close(descriptor);
    return folder;
}

// As deep as the folders, of which each takes a little of the stack.
// NOLINTBEGIN(misc-no-recursion)

// Calls visit(name) for what is in the folder, as long as that is true. False when it was not, or the
// folder cannot be read to its end. The standard library's own walk ends the process when memory runs out.
template <class Visit>
bool forEachEntry(DIR* folder, const Visit& visit) {
    for (;;) {
        errno = 0;
        // Of this folder only one thread reads.
        const dirent* const entry = readdir(folder);  // NOLINT(concurrency-mt-unsafe)
        if (entry == nullptr) return errno == 0;
        const std::string_view name = entry->d_name;
        if (name != "." && name != ".." && !visit(entry->d_name)) return false;
    }
}

bool removeEntry(int parent, const char* name);

// As much as can be removed, whatever stays.
bool removeContents(DIR* folder) {
    bool allRemoved = true;
    const bool allRead = forEachEntry(folder, [&](const char* name) {
        if (!removeEntry(dirfd(folder), name)) allRemoved = false;
        return true;
    });
    return allRead && allRemoved;
}

bool removeEntry(int parent, const char* name) {
    if (unlinkat(parent, name, 0) == 0) return true;
    {
        const Folder folder = openFolder(parent, name);
        if (!folder || !removeContents(folder.get())) return false;
    }
    return unlinkat(parent, name, AT_REMOVEDIR) == 0;
}

// Walks the folder; `parent` is what its entries' paths and names begin with.
bool walk(DIR* folder, const FolderEntry& parent,
          const std::function<bool(const FolderEntry&)>& visit) {
    return forEachEntry(folder, [&](const char* name) {
        struct stat details = {};
        if (fstatat(dirfd(folder), name, &details, AT_SYMLINK_NOFOLLOW) != 0) return false;
        FolderEntry entry = {parent.path + name, parent.name + name, S_ISDIR(details.st_mode)};
        if (!entry.isFolder) return !S_ISREG(details.st_mode) || visit(entry);
        const Folder inner = openFolder(dirfd(folder), name);
        if (!inner || !visit(entry)) return false;
        entry.path += '/';
        entry.name += '/';
        return walk(inner.get(), entry, visit);
    });
}

// NOLINTEND(misc-no-recursion)

}  // namespace

WideString localAppDataFolder() {
    const std::string dataHome = folderOf("XDG_DATA_HOME");
    if (!dataHome.empty()) return utf8ToWide(dataHome);
    const std::string home = folderOf("HOME");
    return home.empty() ? WideString() : utf8ToWide(home + "/.local/share");
}

bool isFolder(const WideString& path) {
    std::error_code failed;
    return std::filesystem::is_directory(nativePath(path), failed);
}

FolderCreation createFolder(const WideString& path) {
    if (mkdir(nativePath(path).c_str(), S_IRWXU | S_IRWXG | S_IRWXO) == 0)
        return FolderCreation::Created;
    return errno == EEXIST ? FolderCreation::AlreadyExists : FolderCreation::Failed;
}

bool removeFolderTree(const WideString& path) {
    return removeEntry(AT_FDCWD, nativePath(path).c_str());
}

bool walkFolder(const WideString& folder, const std::function<bool(const FolderEntry&)>& visit) {
    const std::string path = pathInUtf8(folder);
    const Folder opened = openFolder(AT_FDCWD, path.c_str(), 0);
    return opened && walk(opened.get(), {path + '/', "", true}, visit);
}

}  // namespace platform

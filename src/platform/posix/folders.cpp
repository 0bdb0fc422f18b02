#include "platform/folders.h"

#include <sys/stat.h>

#include <cerrno>
#include <cstdlib>
#include <string>
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
    std::error_code failed;
    const auto removed = std::filesystem::remove_all(nativePath(path), failed);
    return !failed && removed != 0;
}

}  // namespace platform

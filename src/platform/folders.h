// Folders: the user's own for application data, and making and removing them. Paths may be longer than
// 260 characters.
#pragma once

#include <functional>
#include <string>

#include "support/text.h"

namespace platform {

// The folder for data that belongs to this user on this machine, without a separator behind it;
// empty when there is none. Windows: the local application data. POSIX: $XDG_DATA_HOME, default
// ~/.local/share; it need not exist.
WideString localAppDataFolder();

// Links are followed.
bool isFolder(const WideString& path);

// Whether a folder was made, or could not be made because something has its name already, which may
// be a file.
enum class FolderCreation { Created, AlreadyExists, Failed };
FolderCreation createFolder(const WideString& path);

// Removes the folder and all that is in it, without asking anybody; links go, what they point to stays.
// False when there was nothing, or when something stays. On Windows a file that another program holds open
// stays; such a program gets about half a second to close it.
bool removeFolderTree(const WideString& path);

// A file or folder below a folder that is walked.
struct FolderEntry {
    std::string path;  // UTF-8, of any length, for functions that open it by that
    std::string name;  // relative to the walked folder, in UTF-8, with the platform's separators
    bool isFolder;
};

// Visits the files and folders on all levels below the folder, each folder before its content, in the
// order of the file system. Links and special files are left out. False when a folder cannot be read, or
// when visit returns false, which ends the walk.
bool walkFolder(const WideString& folder, const std::function<bool(const FolderEntry&)>& visit);

}  // namespace platform

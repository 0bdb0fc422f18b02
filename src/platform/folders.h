// Folders: the user's own for application data, and making and removing them. Paths may be longer than
// 260 characters.
#pragma once

#include <cstddef>
#include <optional>

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
// False when there was nothing, or when something stays.
bool removeFolderTree(const WideString& path);

// How many bytes of UTF-8 the longest of the paths has: the folder's own and, on all levels below, those of
// what is in it. Links are not followed. Nothing when one of the folders cannot be read.
std::optional<std::size_t> longestPathIn(const WideString& folder);

}  // namespace platform

// Folders and copies of files, for what the library leaves on disk. Paths are split at the platform's
// separator only, unless a function says otherwise.
#pragma once

#include <cstddef>
#include <cstdio>

#include "support/text.h"

// Where the folders of a path begin, of which one after the other can be looked at and made: on Windows
// behind the share of a network path (\\server\share\) and behind the first name of a path that is taken
// literally (\\?\C:\, \\?\UNC\server\share\); else 0.
std::size_t firstFolderIn(WideView path);

// Makes the folder and all that are missing above it. On Windows a "/" separates too. True when all are
// there afterwards; a file that has the name of one of them counts as being there, so that what needs
// the folder then fails in its own way.
bool createDirectories(const WideString& path);

// What stands before the last separator, one at the very end not counted; a path without one is given
// back whole.
WideString parentPath(const WideString& path);

// What stands behind the last separator, or the whole path.
WideString fileName(const WideString& path);

// Copies what is left of one file to another. False only when one of them has failed before that: with
// null, for one that could not be opened, nothing is copied, and the result is true.
bool copyStream(std::FILE* from, std::FILE* to);

// Copies all bytes of a file, replacing the target. A source that cannot be opened leaves an empty
// target, a target that cannot be opened loses the data, and both are true.
bool copyFile(const WideString& source, const WideString& target);

// Copies a file under its own name into a folder. False when the source cannot be opened or the folder
// is not there; how the copying went is not told.
bool copyFileToFolder(const WideString& source, const WideString& folder);

// Removes the folder and all that is in it. False when it was not there or something stays.
bool removeDirectoryTree(const WideString& path);

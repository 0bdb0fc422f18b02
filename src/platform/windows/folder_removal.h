// What the removal of folders decides, for its tests.
#pragma once

#include "support/text.h"

namespace platform {

// Whether a file or folder stands for another one. What a cloud service or the file system keeps elsewhere
// has a reparse point too, but is not a link: its contents are its own.
// attributes, reparseTag: as the system gives them; the tag is read for reparse points only
bool isLink(unsigned long attributes, unsigned long reparseTag);

// Whether it is a folder with contents of its own, not a link to one.
bool isFolderItself(unsigned long attributes, unsigned long reparseTag);

// Waits a little; called when something cannot be removed because somebody else has it open.
using BriefWait = void();

// The removal by platform::removeFolderTree, which calls it at most this often for the whole tree.
inline constexpr int mostWaits = 25;
bool removeFolderTree(const WideString& path, BriefWait* wait);

}  // namespace platform

// Packs a folder into a zip file.
#pragma once

#include "support/text.h"

// Packs what is in the folder, with all levels below, into a new zip file, which replaces an older one.
// Entries are named relative to the folder. Whether the file is complete.
bool zipFolder(const WideString& folder, const WideString& zipPath);

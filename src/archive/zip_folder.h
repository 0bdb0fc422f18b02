// Packs a folder into a zip file.
#pragma once

#include "support/text.h"

// Packs what is in the folder, with all levels below, into a new zip file, which replaces an older one.
// Entries are named relative to the folder; links and special files are left out. False when something
// could not be read or written, as far as the zip library reports: a full disk may go unreported.
bool zipFolder(const WideString& folder, const WideString& zipPath);

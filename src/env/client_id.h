// The text by which the rendering application knows this user.
#pragma once

#include <string>

#include "env/guid_text.h"
#include "support/text.h"

// The first line of the folder's "cid.dat", whatever it is. When that file cannot be read, a new id,
// which is written there if that is possible; of an id that does not fit onto the disk no file stays.
// newId: what makes the new one
std::string loadClientId(const WideString& folder, std::string (*newId)() = newGuidText);

// The id of the user, loaded at the first call, from whatever thread, and the same until the process
// ends.
const std::string& clientId();

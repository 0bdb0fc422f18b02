// What the whole process knows of the link to the renderer. Shared by all sessions, without
// protection.
#pragma once

#include "support/text.h"

struct LinkState {
    // The last path given for a main model, by any session.
    WideString modelFilePath;
};

LinkState& linkState();

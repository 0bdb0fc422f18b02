// The folders that the rendering application keeps in the user's application data.
#pragma once

#include "support/text.h"

// The folder of the launcher, which has the client id; it need not exist.
WideString launcherDataPath();

// The folder of the logs, with a separator behind it. Makes it when it is missing, also when the
// application was never installed; empty when that fails.
WideString logDirectory();

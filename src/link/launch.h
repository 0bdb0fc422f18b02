// The handshake with the renderer: finding it, starting it, handing it the plug-in file, and waiting
// until it is linked. Blocks its caller, in places without a limit.
#pragma once

#include <cstdint>

#include "support/text.h"

enum class LinkResult : std::uint32_t {
    Linked = 0,
    NoInstallation = 1,
    UnusableVersion = 3,
    TakesNoLink = 4,
    UpdateRunning = 5,
    HandOverRefused = 6,
    Failed = 7,
    NoPort = 8,
};

// Whether the renderer's update runs, and not its launcher.
bool IsUpdateRunning();

// 0 when the launcher was started, 1 without an installation, 2 with one too old, 3 when it could not
// be started.
int LaunchRender();

// One attempt.
LinkResult LinkToRender();

// The attempt, and when that failed for a reason that may pass, a second one three seconds later.
LinkResult startLink(const WideString& pluginFile);

// Other processes of the machine.
#pragma once

#include <string_view>

#include "support/text.h"

namespace platform {

// Whether a process runs whose executable's file name is exactly this, case included. False when the
// list of processes cannot be had.
bool isProcessRunning(std::string_view executableName);

// Starts a program that lives on by itself, as the shell's "open" does, with a window that shows.
// file:       path of the program, without quotes
// parameters: one text; the program gets it split at its blanks
// directory:  where it starts
// False when it could not be started.
bool launchProgram(const WideString& file, const WideString& parameters,
                   const WideString& directory);

}  // namespace platform

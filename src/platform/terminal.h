// What a program's standard streams are connected to.
#pragma once

namespace platform {

bool standardErrorIsTerminal();

// Makes UTF-8 text readable on the terminal, where that needs to be asked for.
void prepareTerminalForUtf8();

}  // namespace platform

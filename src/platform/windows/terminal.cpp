#include "platform/terminal.h"

#include <io.h>
#include <windows.h>

#include <cstdio>

namespace platform {

bool standardErrorIsTerminal() {
    return _isatty(_fileno(stderr)) != 0;
}

void prepareTerminalForUtf8() {
    SetConsoleOutputCP(CP_UTF8);
}

}  // namespace platform

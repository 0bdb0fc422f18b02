#include "platform/terminal.h"

#include <unistd.h>

namespace platform {

bool standardErrorIsTerminal() {
    return isatty(STDERR_FILENO) != 0;
}

void prepareTerminalForUtf8() {}

}  // namespace platform

// Requests from outside that a program end.
#pragma once

namespace platform {

// From here on such a request ends the program no more but is remembered: SIGINT, SIGTERM and SIGHUP,
// or a console's control events. A second interrupt from the keyboard ends it all the same.
void watchInterrupts();

bool wasInterrupted();

}  // namespace platform

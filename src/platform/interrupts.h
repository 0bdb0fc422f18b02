// Requests from outside that a program end.
#pragma once

namespace platform {

// From here on such a request ends the program no more but is remembered: SIGINT, SIGTERM and SIGHUP,
// or a console's control events.
void watchInterrupts();

bool wasInterrupted();

}  // namespace platform

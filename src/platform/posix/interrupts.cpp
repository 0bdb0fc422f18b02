#include "platform/interrupts.h"

#include <array>
#include <csignal>

namespace platform {
namespace {

volatile std::sig_atomic_t interrupted = 0;

extern "C" void rememberInterrupt(int) {
    interrupted = 1;
}

}  // namespace

void watchInterrupts() {
    struct sigaction action = {};
    action.sa_handler = rememberInterrupt;
    sigemptyset(&action.sa_mask);
    for (const int signal : std::array{SIGTERM, SIGHUP})
        sigaction(signal, &action, nullptr);
    action.sa_flags = static_cast<int>(SA_RESETHAND);
    sigaction(SIGINT, &action, nullptr);
}

bool wasInterrupted() {
    return interrupted != 0;
}

}  // namespace platform

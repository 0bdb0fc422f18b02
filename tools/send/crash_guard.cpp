#include "send/crash_guard.h"

#include <array>
#include <csignal>
#include <cstdio>
#include <cstdlib>

namespace q7send {

namespace {

std::string lastWordsOnCrash;

constexpr std::array crashSignals {
    SIGABRT, SIGFPE, SIGILL, SIGSEGV,
#if defined(SIGBUS)
        SIGBUS
#endif
};

extern "C" void q7sendEndAfterCrash(int) {
    // No allocation, no streams: both may be what is broken.
    std::fwrite(lastWordsOnCrash.data(), 1, lastWordsOnCrash.size(), stderr);
    std::_Exit(EXIT_FAILURE);
}

}  // namespace

CrashGuard::CrashGuard(std::string lastWords) {
    lastWordsOnCrash = std::move(lastWords);
    for (const int number : crashSignals)
        std::signal(number, q7sendEndAfterCrash);
}

CrashGuard::~CrashGuard() {
    for (const int number : crashSignals)
        std::signal(number, SIG_DFL);
}

}  // namespace q7send

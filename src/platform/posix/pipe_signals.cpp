#include "platform/pipe_signals.h"

#include <cerrno>
#include <csignal>
#include <ctime>

namespace platform {
namespace {

sigset_t pipeSignal() {
    sigset_t signals;
    sigemptyset(&signals);
    sigaddset(&signals, SIGPIPE);
    return signals;
}

// Takes one that is pending away.
void dropPending(const sigset_t& signals) {
    constexpr timespec atOnce = {};
    while (sigtimedwait(&signals, nullptr, &atOnce) < 0 && errno == EINTR) {
    }
}

}  // namespace

PipeSignalsHeld::PipeSignalsHeld() {
    const sigset_t signals = pipeSignal();
    sigset_t set;
    if (sigpending(&set) == 0) wasPending_ = sigismember(&set, SIGPIPE) == 1;
    if (pthread_sigmask(SIG_BLOCK, &signals, &set) == 0)
        wasBlocked_ = sigismember(&set, SIGPIPE) == 1;
}

PipeSignalsHeld::~PipeSignalsHeld() {
    const sigset_t signals = pipeSignal();
    // One that was there before is the host's.
    if (!wasPending_) dropPending(signals);
    if (!wasBlocked_) pthread_sigmask(SIG_UNBLOCK, &signals, nullptr);
}

}  // namespace platform

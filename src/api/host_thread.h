// What the thread of a host may have set up that the work of a call must not depend on.
#pragma once

#include "platform/pipe_signals.h"
#include "support/float_environment.h"

// One of these lives as long as a call that computes with a model or writes files does: hosts compute in
// ways of their own, and none is to end because the reader of a pipe has gone. Calls that only take values
// in do without: they compute nothing, and are too many.
struct HostThreadGuard {
    StandardFloats floats;
    platform::PipeSignalsHeld pipeSignals;
};

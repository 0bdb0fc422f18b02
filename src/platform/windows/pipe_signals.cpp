#include "platform/pipe_signals.h"

namespace platform {

PipeSignalsHeld::PipeSignalsHeld() = default;

PipeSignalsHeld::~PipeSignalsHeld() = default;

}  // namespace platform

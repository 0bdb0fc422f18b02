// The signal of POSIX systems for a pipe that nobody reads any more.
#pragma once

namespace platform {

// While one lives, a write to such a pipe on this thread fails like any other, instead of ending the
// process; the host's own handling of the signal is as before afterwards. Does nothing on Windows, which
// has no such signal.
class PipeSignalsHeld {
  public:
    PipeSignalsHeld();
    ~PipeSignalsHeld();
    PipeSignalsHeld(const PipeSignalsHeld&) = delete;
    PipeSignalsHeld& operator=(const PipeSignalsHeld&) = delete;

  private:
    bool wasBlocked_ = false;
    bool wasPending_ = false;
};

}  // namespace platform

// How the processor computes with floating-point numbers, which is a setting of each thread.
#pragma once

#include <cfenv>

#if defined(__x86_64__) || defined(_M_X64)
#include <xmmintrin.h>
#endif

// While one lives, this thread computes as a new program does: to the nearest number, with tiny numbers
// kept, and with nothing that stops the program. Afterwards all is as the host had it, the marks of
// exceptions that have happened included. Threads that are started meanwhile compute in the same way.
class StandardFloats {
  public:
    StandardFloats() {
#if defined(__x86_64__) || defined(_M_X64)
        // The unit with which all is computed here: not every runtime sets that up too.
        constexpr unsigned everythingMasked = 0x1F80;
        hostsControl_ = _mm_getcsr();
        _mm_setcsr(everythingMasked);
#endif
        std::fegetenv(&hosts_);
        std::fesetenv(FE_DFL_ENV);
    }
    ~StandardFloats() {
        std::fesetenv(&hosts_);
#if defined(__x86_64__) || defined(_M_X64)
        _mm_setcsr(hostsControl_);
#endif
    }
    StandardFloats(const StandardFloats&) = delete;
    StandardFloats& operator=(const StandardFloats&) = delete;

  private:
    std::fenv_t hosts_;
#if defined(__x86_64__) || defined(_M_X64)
    unsigned hostsControl_;
#endif
};

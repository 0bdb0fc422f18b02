// What the compiler's runtime keeps for good in each library that it is linked into: without this a host
// that loads this one over and over loses two handles and 73,000 bytes each time. MinGW-w64 only.

#include "platform/windows/process_end.h"

namespace __gnu_cxx {
void __freeres() noexcept;
}

// The thread library's function for the ends of threads.
extern "C" void (*__xl_f)(void* library, unsigned long reason, void* reserved);

namespace {

struct RuntimeEnd {
    ~RuntimeEnd() {
        if (platform::isProcessEnding()) return;
        // Memory for exceptions when there is no other.
        __gnu_cxx::__freeres();
        // The record of the thread that unloads the library, which lives on without it.
        constexpr unsigned long threadDetach = 3;
        __xl_f(nullptr, threadDetach, nullptr);
    }
};

// The first to be made is the last to go.
__attribute__((init_priority(101))) const RuntimeEnd runtimeEnd;

}  // namespace

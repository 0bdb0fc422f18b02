// What the ends of libraries have to know.
#pragma once

#include <windows.h>

namespace platform {

// Whether the process ends, rather than a host unloads the library: the other threads have been ended then,
// maybe with locks that are still taken, and the system gives everything back by itself. The system tells
// it to DllMain, which the compiler's runtime has for itself.
inline bool isProcessEnding() {
    using Answer = BOOLEAN WINAPI();
    const auto ask = reinterpret_cast<Answer*>(reinterpret_cast<void*>(
        GetProcAddress(GetModuleHandleW(L"ntdll.dll"), "RtlDllShutdownInProgress")));
    return ask == nullptr || ask() != 0;
}

}  // namespace platform

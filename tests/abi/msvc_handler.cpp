// A host of the MSVC ABI, compiled under /EHsc: the handler around an export must be there and catch. Its
// library is msvc_thrower.cpp, since a frame of MSVC passes over the exceptions of a MinGW build.

#include "q7plugin.h"

#define KERNEL extern "C" __declspec(dllimport)

[[noreturn]] KERNEL void ExitProcess(unsigned int code);
KERNEL void* SetUnhandledExceptionFilter(long (*filter)(void*));

namespace {

bool catches(void* session) {
    try {
        MaxAddTriangles(session, L"paint", -1, nullptr, nullptr, nullptr, CoordOrder::XYZ);
    } catch (...) {
        return true;
    }
    return false;
}

// Otherwise the system would wait for a debugger.
long endAtUnhandledException(void*) {
    ExitProcess(2);
}

}  // namespace

extern "C" void start() {
    SetUnhandledExceptionFilter(endAtUnhandledException);
    ExitProcess(catches(CreateSession()) ? 0 : 1);
}

#include "platform/interrupts.h"

#include <windows.h>

#include <atomic>

namespace platform {
namespace {

constexpr DWORD timeToEnd = 5000;  // milliseconds

std::atomic<bool> interrupted = false;

BOOL WINAPI rememberInterrupt(DWORD event) {
    const bool isAgain = interrupted.exchange(true);
    // What is not handled here ends the process.
    if (event == CTRL_C_EVENT || event == CTRL_BREAK_EVENT) return isAgain ? FALSE : TRUE;
    // After the others the system ends the process as soon as this returns.
    Sleep(timeToEnd);
    return TRUE;
}

}  // namespace

void watchInterrupts() {
    SetConsoleCtrlHandler(rememberInterrupt, TRUE);
}

bool wasInterrupted() {
    return interrupted;
}

}  // namespace platform

// The narrow forms of the process list have a name only without this.
#undef UNICODE

#include "platform/processes.h"

#include <windows.h>
// Need windows.h first.
#include <shellapi.h>
#include <tlhelp32.h>

#include <cstdint>
#include <memory>
#include <string>
#include <type_traits>

namespace platform {
namespace {

struct HandleCloser {
    void operator()(HANDLE handle) const { CloseHandle(handle); }
};
using Handle = std::unique_ptr<std::remove_pointer_t<HANDLE>, HandleCloser>;

std::wstring native(const WideString& text) {
    return {text.begin(), text.end()};
}

}  // namespace

bool isProcessRunning(std::string_view executableName) {
    HANDLE const list = CreateToolhelp32Snapshot(TH32CS_SNAPPROCESS, 0);
    if (list == INVALID_HANDLE_VALUE) return false;
    const Handle owner(list);
    PROCESSENTRY32 process = {};
    process.dwSize = sizeof process;
    for (BOOL more = Process32First(list, &process); more; more = Process32Next(list, &process)) {
        if (executableName == process.szExeFile) return true;
    }
    return false;
}

bool launchProgram(const WideString& file, const WideString& parameters,
                   const WideString& directory) {
    const std::wstring quoted = L'"' + native(file) + L'"';
    HINSTANCE const result =
        ShellExecuteW(nullptr, L"open", quoted.c_str(), native(parameters).c_str(),
                      native(directory).c_str(), SW_SHOW);
    // Not a handle but a number: a failure's, up to 32.
    return reinterpret_cast<std::intptr_t>(result) > 32;
}

}  // namespace platform

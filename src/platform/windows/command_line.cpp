#include "platform/command_line.h"

#include <windows.h>
// Needs windows.h first.
#include <shellapi.h>

#include <memory>

#include "support/text.h"

namespace platform {

// The narrow arguments of main have lost what the ANSI code page does not hold; the wide command
// line has them all.
std::vector<std::string> commandLineArguments(int, const char* const*) {
    int count = 0;
    const std::unique_ptr<wchar_t*, decltype(&LocalFree)> wide(
        CommandLineToArgvW(GetCommandLineW(), &count), LocalFree);
    std::vector<std::string> arguments;
    for (int i = 1; i < count; ++i) {
        const std::wstring_view argument(wide.get()[i]);
        arguments.push_back(wideToUtf8(WideString(argument.begin(), argument.end())));
    }
    return arguments;
}

}  // namespace platform

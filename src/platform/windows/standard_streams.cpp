#include "platform/standard_streams.h"

#include <fcntl.h>
#include <io.h>
#include <windows.h>

#include <cstdio>
#include <string>

namespace platform {

void writeText(StandardStream stream, std::string_view text) {
    std::string lines;
    for (const char c : text) {
        if (c == '\n') lines += '\r';
        lines += c;
    }
    HANDLE const handle =
        GetStdHandle(stream == StandardStream::Output ? STD_OUTPUT_HANDLE : STD_ERROR_HANDLE);
    DWORD written = 0;
    WriteFile(handle, lines.data(), static_cast<DWORD>(lines.size()), &written, nullptr);
}

void useBinaryStandardStreams() {
    _setmode(_fileno(stdout), _O_BINARY);
    _setmode(_fileno(stderr), _O_BINARY);
}

}  // namespace platform

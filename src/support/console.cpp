#include "support/console.h"

#include <cstdio>
#include <string>

#include "platform/pipe_signals.h"

namespace {

void printLineTo(std::FILE* stream, std::string_view text) {
    const std::string line = std::string(text) + '\n';
    const platform::PipeSignalsHeld held;
    std::fwrite(line.data(), 1, line.size(), stream);
    std::fflush(stream);
}

}  // namespace

void printLine(std::string_view text) {
    printLineTo(stdout, text);
}

void printErrorLine(std::string_view text) {
    printLineTo(stderr, text);
}

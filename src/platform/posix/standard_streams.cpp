#include "platform/standard_streams.h"

#include <cstdio>

#include "platform/pipe_signals.h"

namespace platform {

void writeText(StandardStream stream, std::string_view text) {
    std::FILE* const file = stream == StandardStream::Output ? stdout : stderr;
    const PipeSignalsHeld held;
    std::fwrite(text.data(), 1, text.size(), file);
    std::fflush(file);
}

void useBinaryStandardStreams() {}

}  // namespace platform

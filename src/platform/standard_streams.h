// The standard streams of the process.
#pragma once

#include <string_view>

namespace platform {

enum class StandardStream { Output, Error };

// Writes the text at once, as text: on Windows each '\n' becomes "\r\n". There it goes to the handle that
// the process has at that moment, and not through the C runtime, which may be another one than the host's:
// the host's redirections hold, and nothing is converted to the mode of its stream. What cannot be
// written is dropped.
void writeText(StandardStream stream, std::string_view text);

// From here on the C runtime's standard output and standard error pass bytes as they are given, line ends
// included, so that a program's output is the same on every platform.
void useBinaryStandardStreams();

}  // namespace platform

// The standard streams of a program.
#pragma once

namespace platform {

// From here on standard output and standard error pass bytes as they are given, line ends included,
// so that a program's output is the same on every platform.
void useBinaryStandardStreams();

}  // namespace platform

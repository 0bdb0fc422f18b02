#include "platform/standard_streams.h"

#include <fcntl.h>
#include <io.h>

#include <cstdio>

namespace platform {

void useBinaryStandardStreams() {
    _setmode(_fileno(stdout), _O_BINARY);
    _setmode(_fileno(stderr), _O_BINARY);
}

}  // namespace platform

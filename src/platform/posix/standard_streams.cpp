#include "platform/standard_streams.h"

namespace platform {

void useBinaryStandardStreams() {}

}  // namespace platform

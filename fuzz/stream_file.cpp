// A model stream, as q7-inspect reads it.
#include "fuzz/stream_checks.h"
#include "fuzz/target.h"
#include "inspect/known_stream.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    try {
        q7fuzz::inspectStream(q7inspect::readKnownStream(q7fuzz::asBytes(data, size)));
    } catch (const q7tools::FormatError& error) {
        q7fuzz::requireReason(error.offset(), size, error.what());
    }
    return 0;
}

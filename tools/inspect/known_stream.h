// Reading what ought to be a model stream.
#pragma once

#include <cstddef>
#include <span>

#include "common/stream_reader.h"

namespace q7inspect {

// As q7tools::readStream, but bytes of another kind give a FormatError that says so, not a puzzling
// reason at a random place.
q7tools::StreamModel readKnownStream(std::span<const std::byte> bytes);

}  // namespace q7inspect

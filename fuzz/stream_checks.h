// Everything that q7-inspect does with a model stream once it is read.
#pragma once

#include "common/stream_reader.h"

namespace q7fuzz {

void inspectStream(const q7tools::StreamModel& model);

}  // namespace q7fuzz

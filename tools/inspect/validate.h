// Looks for everything in a model stream that a receiver could stumble over.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "common/stream_reader.h"

namespace q7inspect {

struct Fault {
    std::uint64_t offset = 0;  // in the file
    std::string reason;
};

// All faults, in the order of their offsets. The index array of a merged mesh is none.
std::vector<Fault> findFaults(const q7tools::StreamModel& model);

}  // namespace q7inspect

// The report for people.
#pragma once

#include <ostream>
#include <string_view>

#include "common/stream_reader.h"
#include "inspect/instance_paths.h"

namespace q7inspect {

// Prints every row of every table when `all` is set, and the first of them otherwise.
void printSummary(std::ostream& out, std::string_view fileName, const q7tools::StreamModel& model,
                  bool all, const InstancePaths& paths = {});

}  // namespace q7inspect

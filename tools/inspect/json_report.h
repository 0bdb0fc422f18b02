// The report for programs.
#pragma once

#include <ostream>
#include <string_view>

#include "common/stream_reader.h"

namespace q7inspect {

// One JSON object with everything but the meshes' arrays, of which it tells the counts. Each
// material, instance and mesh takes one line. A mesh that is "merged" is unindexed triangles, whatever
// its indices; "countedTriangles" is what the header's "triangleCount" ought to be.
void printJson(std::ostream& out, std::string_view fileName, const q7tools::StreamModel& model);

}  // namespace q7inspect

// The report for programs.
#pragma once

#include <nlohmann/json_fwd.hpp>
#include <ostream>
#include <string_view>

#include "common/stream_reader.h"
#include "support/text.h"

namespace q7inspect {

// One JSON object with everything but the meshes' arrays, of which it tells the counts. Each
// material, instance and mesh takes one line. A mesh that is "merged" is unindexed triangles, whatever
// its indices; "countedTriangles" is what the header's "triangleCount" ought to be.
void printJson(std::ostream& out, std::string_view fileName, const q7tools::StreamModel& model);

// What a material's text says: its "kind", "xml", and of a typed one "id", "type" and "properties", or
// a "fault".
nlohmann::ordered_json materialTextJson(WideView xml);

}  // namespace q7inspect
